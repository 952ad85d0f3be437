#pragma once

#include "async/Group.h"
#include "async/Task.h"

#include <cstddef>
#include <memory>

/// The tasks of one owner, run on the main executor. Used on the main thread.
///
/// An exception that escapes a task is recorded in the activity log as an error of the area "app", unless it is
/// `Cancelled`.
/// The destructor asks every task to stop and does not wait: a task that touches its owner after a wait holds it
/// weakly, or the owner awaits `drain` before it is destroyed.
class TaskScope {
public:
    TaskScope();
    ~TaskScope();
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;

    /// Starts the task in a later turn of the loop, never inline; one that is stopped before then never begins.
    SpawnedTask start(Task<> task);

    /// Asks every running task to stop.
    void cancelAll();

    std::size_t running() const;

    /// Ends when no task is running any more, including tasks started in the meantime.
    Task<> drain();

private:
    struct State;

    std::shared_ptr<State> state_;
};
