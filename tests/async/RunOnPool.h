#pragma once

#include "async/Executor.h"
#include "async/Group.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>

/// An executor that runs on a pool of two threads, and a place where a test waits for its task.
class AsyncFixture {
public:
    /// Runs a task to its end and returns its value; rethrows what it threw.
    template <class T>
    T run(Task<T> task, std::stop_source stop = {})
    {
        std::optional<T> value;
        wait(assign(std::move(task), &value), std::move(stop));
        return std::move(*value);
    }
    void run(Task<> task, std::stop_source stop = {}) { wait(std::move(task), std::move(stop)); }

    WorkerPool pool{4};
    SerialExecutor main{pool};

private:
    template <class T>
    static Task<> assign(Task<T> task, std::optional<T>* value)
    {
        value->emplace(co_await std::move(task));
    }

    void wait(Task<> task, std::stop_source stop)
    {
        std::mutex mutex;
        std::condition_variable wake;
        bool isDone = false;
        std::exception_ptr failure;
        spawn(
            main, std::move(task),
            [&](const std::exception_ptr& error) {
                const std::lock_guard lock(mutex);
                failure = error;
                isDone = true;
                wake.notify_one();
            },
            std::move(stop));
        std::unique_lock lock(mutex);
        if (!wake.wait_for(lock, std::chrono::seconds(30), [&] { return isDone; }))
            std::terminate(); // The task refers to this frame, so there is no going on.
        if (failure)
            std::rethrow_exception(failure);
    }
};
