#pragma once

#include "async/OneShot.h"
#include "async/Task.h"

#include <algorithm>
#include <cstddef>

namespace detail {

/// The root of a task: nobody awaits it.
struct Root {
    struct promise_type : TaskPromiseBase {
        Root get_return_object() noexcept { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() noexcept {}
        void unhandled_exception() noexcept { std::terminate(); }
    };

    std::coroutine_handle<promise_type> coroutine;
};

template <class OnEnd>
Root runRoot(Task<void> task, OneShot<void> done, OnEnd onEnd)
{
    std::exception_ptr error;
    {
        // The task's frame is destroyed before its end is reported.
        Task<void> owned = std::move(task);
        try {
            co_await std::move(owned);
        } catch (...) {
            error = std::current_exception();
        }
    }
    onEnd(error);
    if (error)
        done.fail(error);
    else
        done.set();
}

} // namespace detail

/// A running task: `cancel()` asks it to stop, `co_await done.wait()` waits for its end.
class SpawnedTask {
public:
    explicit SpawnedTask(std::stop_source stop)
        : stop_(std::move(stop))
    {
    }

    void cancel() { stop_.request_stop(); }

    OneShot<void> done; ///< Fails with whatever the task threw.

private:
    std::stop_source stop_;
};

/// Starts a task on an executor; it begins there, never inline.
///
/// @param onEnd  called on that executor at the end, with what the task threw or null.
template <class OnEnd>
SpawnedTask spawn(Executor& executor, Task<void> task, OnEnd onEnd, std::stop_source stop = {})
{
    SpawnedTask spawned(stop);
    auto root = detail::runRoot(std::move(task), spawned.done, std::move(onEnd));
    root.coroutine.promise().startOn(executor, stop.get_token());
    executor.post(root.coroutine);
    return spawned;
}

inline SpawnedTask spawn(Executor& executor, Task<void> task, std::stop_source stop = {})
{
    return spawn(executor, std::move(task), [](const std::exception_ptr&) {}, std::move(stop));
}

/// Runs `unit(0)` to `unit(count - 1)`, at most `width` at once, on the caller's executor.
///
/// The first failure stops the rest; all that started are awaited before it is rethrown. A stop of the calling task
/// reaches every unit and ends the group with `Cancelled`.
template <class Unit>
Task<> forEachBounded(std::size_t count, std::size_t width, Unit unit)
{
    struct State {
        Unit unit;
        std::size_t count;
        std::size_t next = 0;
        std::size_t running = 0;
        std::exception_ptr error;
        std::stop_source stop;
        OneShot<void> allEnded;
    };

    if (count == 0)
        co_return;
    Executor& executor = *co_await currentExecutor();
    const std::stop_token outer = co_await currentStopToken();
    const auto state = std::make_shared<State>(State{std::move(unit), count, 0, 0, nullptr, {}, {}});
    const std::stop_callback link(outer, [stop = state->stop]() mutable { stop.request_stop(); });

    auto worker = [](std::shared_ptr<State> shared) -> Task<> {
        while (shared->next < shared->count && !shared->stop.stop_requested())
            co_await shared->unit(shared->next++);
    };
    auto onEnd = [state](const std::exception_ptr& error) {
        if (error && !state->error) {
            state->error = error;
            state->stop.request_stop();
        }
        if (--state->running == 0)
            state->allEnded.set();
    };
    state->running = std::min(std::max<std::size_t>(width, 1), count);
    for (std::size_t i = 0, workers = state->running; i < workers; ++i)
        spawn(executor, worker(state), onEnd, state->stop);

    // The units see the stop through the link; their end is always awaited.
    co_await state->allEnded.wait([] {});
    if (outer.stop_requested())
        throw Cancelled{};
    if (state->error)
        std::rethrow_exception(state->error);
}
