#pragma once

#include "async/Cancelled.h"
#include "async/Executor.h"

#include <atomic>
#include <coroutine>
#include <exception>
#include <optional>
#include <stop_token>
#include <utility>

template <class T>
class TaskPromise;

/// The state that every coroutine of this library carries along: its executor, its stop token and its awaiter.
class TaskPromiseBase {
public:
    TaskPromiseBase() = default;
    explicit TaskPromiseBase(Executor* home)
        : home_(home)
    {
    }

    Executor* executor() const noexcept { return executor_; }
    const std::stop_token& stopToken() const noexcept { return stop_; }

    /// Gives a root coroutine, which nobody awaits, its surroundings.
    void startOn(Executor& executor, std::stop_token stop)
    {
        executor_ = &executor;
        stop_ = std::move(stop);
    }

    std::suspend_always initial_suspend() noexcept { return {}; }
    void unhandled_exception() noexcept { error_ = std::current_exception(); }

    /// Starts the awaited coroutine `self` for `parent`.
    ///
    /// @returns true when the parent stays suspended, false when the child has ended inline.
    template <class Parent>
    bool startFor(std::coroutine_handle<> self, std::coroutine_handle<Parent> parent)
    {
        auto& surroundings = parent.promise();
        continuation_ = parent;
        continuationExecutor_ = surroundings.executor();
        stop_ = surroundings.stopToken();
        executor_ = home_ ? home_ : surroundings.executor();
        if (executor_ != surroundings.executor()) {
            parentIsSuspended_.store(true, std::memory_order_relaxed);
            executor_->post(self);
            return true;
        }
        // The same executor: run inline. Whichever of "child ended" and "parent suspended" comes second resumes.
        self.resume();
        return !parentIsSuspended_.exchange(true, std::memory_order_acq_rel);
    }

protected:
    /// Hands control back to the awaiting coroutine, on its executor.
    struct FinalAwaiter {
        bool await_ready() noexcept { return false; }
        template <class Promise>
        void await_suspend(std::coroutine_handle<Promise> self) noexcept
        {
            TaskPromiseBase& promise = self.promise();
            const auto continuation = promise.continuation_;
            auto* const executor = promise.continuationExecutor_;
            const bool hops = executor != promise.executor_;
            if (!promise.parentIsSuspended_.exchange(true, std::memory_order_acq_rel))
                return; // Ended inside the parent's own suspension: the parent goes on by itself.
            // From here the parent may destroy this coroutine.
            if (hops)
                executor->post(continuation);
            else
                continuation.resume();
        }
        void await_resume() noexcept {}
    };

    void rethrowError()
    {
        if (error_)
            std::rethrow_exception(std::move(error_));
    }

private:
    Executor* home_ = nullptr; ///< Set for the member coroutines of an actor.
    Executor* executor_ = nullptr;
    std::stop_token stop_;
    std::coroutine_handle<> continuation_;
    Executor* continuationExecutor_ = nullptr;
    std::atomic<bool> parentIsSuspended_ = false;
    std::exception_ptr error_;
};

/// A lazy coroutine: nothing runs before it is awaited or spawned.
///
/// Runs on its awaiter's executor, or on the home of the actor whose member it is; the awaiting coroutine
/// always resumes on its own executor. The stop token of the awaiting task travels along. Awaited once.
template <class T = void>
class [[nodiscard]] Task {
public:
    using promise_type = TaskPromise<T>;

    Task(Task&& other) noexcept
        : coroutine_(std::exchange(other.coroutine_, {}))
    {
    }
    Task& operator=(Task&&) = delete;
    ~Task()
    {
        if (coroutine_)
            coroutine_.destroy();
    }

    struct Awaiter {
        std::coroutine_handle<promise_type> child;

        bool await_ready() noexcept { return false; }
        template <class Parent>
        bool await_suspend(std::coroutine_handle<Parent> parent)
        {
            return child.promise().startFor(child, parent);
        }
        T await_resume() { return child.promise().take(); }
    };

    Awaiter operator co_await() && noexcept { return Awaiter{coroutine_}; }

private:
    friend promise_type;

    explicit Task(std::coroutine_handle<promise_type> coroutine) noexcept
        : coroutine_(coroutine)
    {
    }

    std::coroutine_handle<promise_type> coroutine_;
};

namespace detail {
inline Executor* homeOf(const Actor* actor)
{
    return actor->home();
}
inline Executor* homeOf(const volatile void*)
{
    return nullptr;
}
} // namespace detail

template <class T>
class TaskPromise : public TaskPromiseBase {
public:
    TaskPromise() = default;
    template <class First, class... Rest>
    explicit TaskPromise(First& first, Rest&&...)
        : TaskPromiseBase(detail::homeOf(&first))
    {
    }

    Task<T> get_return_object() noexcept { return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this)); }
    FinalAwaiter final_suspend() noexcept { return {}; }
    template <class Value>
    void return_value(Value&& value)
    {
        value_.emplace(std::forward<Value>(value));
    }

    T take()
    {
        rethrowError();
        return std::move(*value_);
    }

private:
    std::optional<T> value_;
};

template <>
class TaskPromise<void> : public TaskPromiseBase {
public:
    TaskPromise() = default;
    template <class First, class... Rest>
    explicit TaskPromise(First& first, Rest&&...)
        : TaskPromiseBase(detail::homeOf(&first))
    {
    }

    Task<void> get_return_object() noexcept
    {
        return Task<void>(std::coroutine_handle<TaskPromise>::from_promise(*this));
    }
    FinalAwaiter final_suspend() noexcept { return {}; }
    void return_void() noexcept {}
    void take() { rethrowError(); }
};

namespace detail {

/// Looks at the awaiting coroutine's own surroundings, without suspending.
template <class Value, class Read>
struct Surroundings {
    Read read;
    std::optional<Value> value;

    bool await_ready() noexcept { return false; }
    template <class Promise>
    bool await_suspend(std::coroutine_handle<Promise> self)
    {
        value = read(self.promise());
        return false;
    }
    Value await_resume() { return std::move(*value); }
};

template <class Value, class Read>
Surroundings<Value, Read> surroundings(Read read)
{
    return {std::move(read), std::nullopt};
}

struct CancellationCheck {
    bool isCancelled = false;

    bool await_ready() noexcept { return false; }
    template <class Promise>
    bool await_suspend(std::coroutine_handle<Promise> self) noexcept
    {
        isCancelled = self.promise().stopToken().stop_requested();
        return false;
    }
    void await_resume() const
    {
        if (isCancelled)
            throw Cancelled{};
    }
};

struct Requeue {
    bool await_ready() noexcept { return false; }
    template <class Promise>
    void await_suspend(std::coroutine_handle<Promise> self)
    {
        self.promise().executor()->post(self);
    }
    void await_resume() noexcept {}
};

} // namespace detail

/// The stop token of the running task: `co_await currentStopToken()`.
inline auto currentStopToken()
{
    return detail::surroundings<std::stop_token>([](const TaskPromiseBase& promise) { return promise.stopToken(); });
}

/// The executor of the running task: `co_await currentExecutor()`.
inline auto currentExecutor()
{
    return detail::surroundings<Executor*>([](const TaskPromiseBase& promise) { return promise.executor(); });
}

/// Throws `Cancelled` when the running task was asked to stop: `co_await checkCancelled()`, between units of work.
inline detail::CancellationCheck checkCancelled()
{
    return {};
}

/// Lets other coroutines on the executor run first: `co_await yieldToOthers()`.
inline detail::Requeue yieldToOthers()
{
    return {};
}
