#pragma once

#include "async/Group.h"
#include "foundation/MainExecutor.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <variant>

/// Turns the event loop until `isDone()`.
///
/// @returns false when the deadline passes first.
template <class Condition>
bool spinUntil(Condition isDone, std::chrono::milliseconds deadline = std::chrono::seconds(20))
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!isDone()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    }
    return true;
}

/// Runs a task on the main executor while the event loop turns: its value, or what it threw.
///
/// A task that misses the deadline is cancelled and the test fails; one that cannot be cancelled ends the program.
template <class T>
T qtRun(Task<T> task, std::chrono::milliseconds deadline = std::chrono::seconds(20))
{
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
    struct State {
        std::optional<Value> value;
        std::exception_ptr error;
        bool hasEnded = false;
    };
    const auto state = std::make_shared<State>();
    auto keep = [](Task<T> awaited, std::shared_ptr<State> kept) -> Task<> {
        if constexpr (std::is_void_v<T>)
            co_await std::move(awaited);
        else
            kept->value.emplace(co_await std::move(awaited));
    };
    auto running =
        spawn(MainExecutor::shared(), keep(std::move(task), state), [state](const std::exception_ptr& error) {
            state->error = error;
            state->hasEnded = true;
        });
    const auto hasEnded = [state] { return state->hasEnded; };
    if (!spinUntil(hasEnded, deadline)) {
        running.cancel();
        if (!spinUntil(hasEnded, std::chrono::seconds(5))) {
            std::fputs("A task missed its deadline and did not stop when it was cancelled.\n", stderr);
            std::abort();
        }
        throw std::runtime_error("the task missed its deadline");
    }
    if (state->error)
        std::rethrow_exception(state->error);
    if constexpr (!std::is_void_v<T>)
        return std::move(*state->value);
}
