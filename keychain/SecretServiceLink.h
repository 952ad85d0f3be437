#pragma once

#include "async/OneShot.h"
#include "keychain/GObjectPtr.h"
#include "keychain/Keychain.h"

#include <libsecret/secret.h>

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>

/// The time a call to the secret store has left; waiting for the user does not count.
struct TimeLimit {
    std::chrono::milliseconds left;
};

/// May the desktop ask the user to unlock the store?
enum class Asking { allowed, onceOnly };

/// The connection to the desktop's Secret Service, with an encrypted session, opened when it is needed and again after
/// the service has restarted.
///
/// Used on the GLib executor only. Every call throws Keychain::Failure.
class SecretServiceLink {
public:
    /// @param onWaiting  called when the desktop begins and stops asking the user.
    explicit SecretServiceLink(std::function<void(bool)> onWaiting);
    ~SecretServiceLink();
    SecretServiceLink(const SecretServiceLink&) = delete;

    /// Returns the open service.
    Task<std::shared_ptr<SecretService>> open(TimeLimit& limit);

    /// Unlocks items or collections, which may ask the user. Simultaneous calls share one question. After a dismissal
    /// `onceOnly` does not ask again.
    Task<> unlock(std::vector<GDBusProxy*> objects, Asking asking, TimeLimit& limit);

    /// The failure to report when the store ended without an error and without success.
    Keychain::Failure refusal() const;

    /// Stops waiting for the user: the calls that wait fail as `dismissed`.
    void stopWaiting();
    /// Forgets a dismissal: the user has answered since, or wants to be asked.
    void askAgain() { wasDismissed_ = false; }

    /// Awaits one asynchronous call of GLib.
    ///
    /// @param start   begins it, given a cancellable, a callback and its data.
    /// @param finish  receives the result and a location for an error.
    template <class Start, class Finish>
    auto call(TimeLimit& limit, Start start, Finish finish)
        -> Task<std::invoke_result_t<Finish, GObject*, GAsyncResult*, GError**>>;

private:
    class Watch;
    struct Prompting;

    static GType promptingServiceType();
    Task<> connectToBus(TimeLimit& limit);
    void forgetService();
    Keychain::Failure failureFrom(const GError& error) const;
    void promptBegan(const void* prompt);
    void promptEnded(const void* prompt);

    std::function<void(bool)> onWaiting_;
    GObjectPtr<GDBusConnection> bus_;
    std::shared_ptr<SecretService> service_;
    std::string owner_;             ///< The bus name of the process that the session is with.
    std::set<const void*> prompts_; ///< Those the user sees.
    int dismissals_ = 0;            ///< How often `stopWaiting` ended a wait.
    bool wasOpen_ = false;
    bool wasDismissed_ = false;
    bool isUnlocking_ = false;
    std::vector<OneShot<void>> unlockWaiters_;
};

/// Ends a call that takes too long, or whose wait for the user was stopped.
class SecretServiceLink::Watch {
public:
    Watch(SecretServiceLink& link, TimeLimit& limit, std::function<void(Keychain::Failure)> end);
    ~Watch();
    Watch(const Watch&) = delete;

private:
    bool tick();

    SecretServiceLink& link_;
    TimeLimit& limit_;
    std::function<void(Keychain::Failure)> end_;
    int dismissals_;
    GSource* source_;
};

template <class Start, class Finish>
auto SecretServiceLink::call(TimeLimit& limit, Start start, Finish finish)
    -> Task<std::invoke_result_t<Finish, GObject*, GAsyncResult*, GError**>>
{
    using Result = std::invoke_result_t<Finish, GObject*, GAsyncResult*, GError**>;
    struct Outcome {
        Result value;
        GErrorPtr error;
    };
    struct Call {
        Finish finish;
        OneShot<Outcome> done;
    };
    const OneShot<Outcome> done;
    const std::shared_ptr<GCancellable> cancellable(g_cancellable_new(), GObjectUnref());
    const auto end = [done, cancellable](const std::exception_ptr& reason) {
        done.fail(reason);
        g_cancellable_cancel(cancellable.get());
    };
    const auto onEnd = [](GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Call> ended(static_cast<Call*>(data));
        GError* error = nullptr;
        auto value = ended->finish(source, result, &error);
        ended->done.set(Outcome{std::move(value), GErrorPtr(error)});
    };
    const Watch watch(*this, limit, [end](const Keychain::Failure& failure) { end(std::make_exception_ptr(failure)); });
    start(cancellable.get(), onEnd, new Call{std::move(finish), done});
    auto outcome = co_await done.wait([end] { end(std::make_exception_ptr(Cancelled{})); });
    if (outcome.error)
        throw failureFrom(*outcome.error);
    co_return std::move(outcome.value);
}
