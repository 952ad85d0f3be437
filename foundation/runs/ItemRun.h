#pragma once

#include "async/Group.h"
#include "async/Task.h"
#include "foundation/Observable.h"

#include <QPointer>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A run over items, one after another or a few at once, that can be stopped between them.
///
/// Lives on the main thread; used once. An item that fails does not end the run. The destructor asks the items under
/// way to stop, as far as they can be, and does not wait; what they report afterwards is dropped.
class ItemRun final : public Observable {
public:
    enum class Phase {
        ready,
        running,
        stopping, ///< No further item begins; those under way have not ended yet.
        finished, ///< Every item was done.
        stopped,  ///< Ended before every item was tried.
        failed,   ///< Every item was tried, and at least one was not done.
    };

    /// The effect of a stop on an item under way.
    enum class UponStop { cancel, letEnd };

    struct Item {
        std::string name;
        /// Does it; called once, on the main executor. May be a coroutine that uses its captures, which live as long.
        ///
        /// @returns nothing when it was done, else why it was not, as a sentence. A throw means the latter too.
        std::function<Task<std::optional<std::string>>()> work;
        UponStop uponStop = UponStop::cancel;
    };

    struct Failure {
        std::string name;
        std::string sentence;

        bool operator==(const Failure&) const = default;
    };

    struct Summary {
        int total = 0;
        int done = 0;
        std::vector<Failure> failures;
        std::vector<std::string> interrupted; ///< Names of the items cancelled under way: each may or may not be done.

        int untried() const;
        bool operator==(const Summary&) const = default;
    };

    /// @param atOnce  how many items may be under way at the same time.
    explicit ItemRun(std::vector<Item> items, int atOnce = 1);
    ~ItemRun() override;

    Observed<Phase> phase{this, Phase::ready};
    /// The counts so far; final once the run has ended.
    Observed<Summary> summary{this};
    /// The name of an item under way; empty without one.
    Observed<std::string> current{this};

    /// Called once when the run has ended, before `changed()`.
    std::function<void(const Summary&)> onEnd;

    bool hasEnded() const { return *phase >= Phase::finished; }

    /// Begins; does nothing after the first call.
    void start();

    /// Lets no further item begin and cancels those under way that may be. The run has ended when they have.
    void stop();

private:
    struct Running {
        UponStop uponStop;
        SpawnedTask task;
    };
    enum class Outcome { done, failed, interrupted, untried };

    using Items = std::vector<Item>;

    static Task<> runItem(QPointer<ItemRun> self, std::shared_ptr<const Items> items, std::size_t index);

    void advance();
    void itemEnded(std::size_t index, Outcome outcome, std::string sentence);
    void cancelRunning();

    std::shared_ptr<const Items> items_; ///< Shared with the items under way, which may outlive the run.
    std::map<std::size_t, Running> running_;
    std::size_t next_ = 0;
    std::size_t atOnce_;
};

/// The words of a run's result.
struct RunWords {
    std::string singular;   ///< "key"
    std::string plural;     ///< "keys"
    std::string participle; ///< "deleted"
};

/// How a run ended, as a sentence or a few: "2 of 3 keys were deleted. 1 could not be deleted."
std::string runResultText(const ItemRun::Summary& summary, const RunWords& words);

/// The items that were not done with their reasons, a line each, to be copied.
std::string failureLines(const ItemRun::Summary& summary);
