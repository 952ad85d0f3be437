#pragma once

#include "async/Task.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <variant>

/// A completion that is fired once, from any thread, and awaited by one coroutine.
///
/// Copies share the completion. Only the first outcome counts; later ones are ignored.
template <class T>
class OneShot {
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    struct State {
        std::mutex mutex;
        std::optional<Value> value;
        std::exception_ptr error;
        bool isDone = false;
        std::coroutine_handle<> waiter;
        Executor* waiterExecutor = nullptr;

        bool fire(std::optional<Value> newValue, std::exception_ptr newError)
        {
            std::coroutine_handle<> resumed;
            {
                const std::lock_guard lock(mutex);
                if (isDone)
                    return false;
                isDone = true;
                value = std::move(newValue);
                error = std::move(newError);
                resumed = std::exchange(waiter, {});
            }
            if (resumed)
                waiterExecutor->post(resumed);
            return true;
        }
    };

    class Awaiter {
    public:
        Awaiter(std::shared_ptr<State> state, std::function<void()> onStop)
            : state_(std::move(state))
            , onStop_(std::move(onStop))
        {
        }
        Awaiter(Awaiter&&) = delete;

        bool await_ready() noexcept { return false; }
        template <class Promise>
        bool await_suspend(std::coroutine_handle<Promise> self)
        {
            TaskPromiseBase& promise = self.promise();
            // Registered before the waiter is published: the callback may run at once, on any thread.
            if (promise.stopToken().stop_possible())
                stopCallback_.emplace(promise.stopToken(), std::move(onStop_));
            const std::lock_guard lock(state_->mutex);
            if (state_->isDone)
                return false;
            state_->waiterExecutor = promise.executor();
            state_->waiter = self;
            return true;
        }
        T await_resume()
        {
            stopCallback_.reset();
            if (state_->error)
                std::rethrow_exception(state_->error);
            if constexpr (!std::is_void_v<T>)
                return std::move(*state_->value);
        }

    private:
        std::shared_ptr<State> state_;
        std::function<void()> onStop_;
        std::optional<std::stop_callback<std::function<void()>>> stopCallback_;
    };

public:
    /// Completes with a value.
    /// @returns false when it was complete already.
    template <class... Arguments>
    bool set(Arguments&&... arguments) const
    {
        return state_->fire(Value(std::forward<Arguments>(arguments)...), nullptr);
    }

    /// Completes with a failure.
    bool fail(std::exception_ptr error) const { return state_->fire(std::nullopt, std::move(error)); }

    /// Awaits the completion; a stop request ends the wait at once with `Cancelled`, and the producer may go on.
    Awaiter wait() const
    {
        return Awaiter(state_, [state = state_] { state->fire(std::nullopt, std::make_exception_ptr(Cancelled{})); });
    }

    /// Awaits the completion; a stop request calls `askToStop` (from any thread) and still waits for the producer.
    Awaiter wait(std::function<void()> askToStop) const { return Awaiter(state_, std::move(askToStop)); }

private:
    std::shared_ptr<State> state_ = std::make_shared<State>();
};
