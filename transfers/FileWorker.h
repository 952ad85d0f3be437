#pragma once

#include "async/Executor.h"
#include "async/Task.h"

#include <memory>
#include <type_traits>
#include <utility>

/// Looks at local files off the main thread, one thing after another. Held by shared_ptr while a call runs.
class FileWorker final : public Actor {
public:
    FileWorker()
        : FileWorker(std::make_unique<SerialExecutor>())
    {
    }

    /// Runs a function that may wait for a disk; resumes on the caller's executor with what it returned or threw.
    template <class Function>
    Task<std::invoke_result_t<Function&>> run(Function function)
    {
        co_return function();
    }

private:
    explicit FileWorker(std::unique_ptr<SerialExecutor> executor)
        : Actor(*executor)
        , executor_(std::move(executor))
    {
    }

    std::unique_ptr<SerialExecutor> executor_;
};
