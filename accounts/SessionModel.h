#pragma once

#include "accounts/B2Session.h"
#include "foundation/Observable.h"

#include <cstdint>
#include <memory>

/// Base of the models that show what the key of a session sees, and empty themselves when the session is replaced.
///
/// A request takes a ticket, waits, and drops its answer unless the ticket is still current:
///
///     const QPointer self(this);
///     const auto mine = ticket();
///     auto answer = co_await mine.session->client->listBuckets();
///     if (!self || !isCurrent(mine))
///         co_return;
///
/// Cancelling is not enough: an answer may already be on its way to this thread. A request that changes single rows,
/// such as a delete, must survive a reload; it keeps its session instead and compares that with `*session`.
///
/// Lives on the main thread.
class SessionModel : public Observable {
public:
    using Observable::Observable;

    /// The session whose answers are shown; null for none. Changed by `reset` alone.
    Observed<std::shared_ptr<B2Session>> session{this};

    /// Follows another session, or none: empties the model at once and outdates every ticket. The same session again
    /// does that too.
    void reset(std::shared_ptr<B2Session> newSession);

protected:
    /// Says for which session a request is made, and that it was the last one begun.
    struct Ticket {
        std::shared_ptr<B2Session> session;
        std::uint64_t generation = 0;
    };

    /// Begins a request whose answer replaces what is shown: every earlier ticket becomes outdated.
    Ticket ticket();

    /// Neither `reset`, `ticket` nor `outdateTickets` was called since the ticket was issued.
    bool isCurrent(const Ticket& issued) const { return issued.generation == generation_; }

    /// Gives up the request under way; its answer is dropped.
    void outdateTickets() { ++generation_; }

    /// Empties rows, banner and error, and ends what shows a wait (`isLoading`), since the answer will be dropped.
    /// `session` is still the one that ends.
    virtual void clear() = 0;

private:
    std::uint64_t generation_ = 0;
};
