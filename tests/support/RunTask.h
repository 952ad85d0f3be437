#pragma once

#include "async/Group.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <variant>

/// A task that runs on an executor of its own, driven from the test's thread.
template <class T>
class StartedTask {
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    struct State {
        SerialExecutor executor;
        std::mutex mutex;
        std::condition_variable ended;
        std::optional<Value> value;
        std::exception_ptr error;
        bool hasEnded = false;
    };

public:
    explicit StartedTask(Task<T> task)
        : state_(std::make_shared<State>())
        , task_(
              spawn(state_->executor, keep(std::move(task), state_), [state = state_](const std::exception_ptr& error) {
                  const std::lock_guard lock(state->mutex);
                  state->error = error;
                  state->hasEnded = true;
                  state->ended.notify_all();
              }))
    {
    }

    /// Asks the task to stop.
    void cancel() { task_.cancel(); }

    /// Blocks until the task has ended.
    /// @returns false when it is still running after that time.
    bool waitFor(std::chrono::milliseconds time)
    {
        std::unique_lock lock(state_->mutex);
        return state_->ended.wait_for(lock, time, [this] { return state_->hasEnded; });
    }

    /// The task's value, or what it threw. A task that misses the deadline is cancelled and the test fails; one that
    /// cannot even be cancelled would outlive the test's objects, so it ends the program.
    T result(std::chrono::milliseconds deadline = std::chrono::seconds(20))
    {
        if (!waitFor(deadline)) {
            cancel();
            if (!waitFor(std::chrono::seconds(5))) {
                std::fputs("A task missed its deadline and did not stop when it was cancelled.\n", stderr);
                std::abort();
            }
            throw std::runtime_error("the task missed its deadline");
        }
        if (state_->error)
            std::rethrow_exception(state_->error);
        if constexpr (!std::is_void_v<T>)
            return std::move(*state_->value);
    }

private:
    static Task<> keep(Task<T> task, std::shared_ptr<State> state)
    {
        if constexpr (std::is_void_v<T>)
            co_await std::move(task);
        else
            state->value.emplace(co_await std::move(task));
    }

    std::shared_ptr<State> state_;
    SpawnedTask task_;
};

/// Runs a task to its end from a test's thread: its value, or what it threw.
template <class T>
T run(Task<T> task, std::chrono::milliseconds deadline = std::chrono::seconds(20))
{
    return StartedTask<T>(std::move(task)).result(deadline);
}
