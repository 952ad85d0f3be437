#pragma once

#include "async/OneShot.h"
#include "async/Task.h"

#include <memory>
#include <type_traits>
#include <utility>

/// Runs a function that blocks, such as file work, on a thread for blocking work; returns its value or rethrows what
/// it threw. The caller resumes on its own executor; a stop request does not interrupt the function.
template <class Function>
Task<std::invoke_result_t<Function>> runInBackground(Function function)
{
    using Result = std::invoke_result_t<Function>;
    struct Job {
        Function function;
        OneShot<Result> done;

        static void run(void* context)
        {
            const std::unique_ptr<Job> job(static_cast<Job*>(context));
            try {
                if constexpr (std::is_void_v<Result>) {
                    job->function();
                    job->done.set();
                } else {
                    job->done.set(job->function());
                }
            } catch (...) {
                job->done.fail(std::current_exception());
            }
        }
    };
    const OneShot<Result> done;
    WorkerPool::blocking().submit(&Job::run, new Job{std::move(function), done});
    co_return co_await done.wait([] {});
}
