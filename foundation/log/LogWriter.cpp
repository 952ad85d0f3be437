#include "foundation/log/LogWriter.h"

#include "async/Group.h"
#include "foundation/Texts.h"
#include "foundation/log/LogBacklog.h"
#include "foundation/log/LogFile.h"

#include <algorithm>
#include <condition_variable>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

/// Shared with the running write, which may outlive the writer.
struct LogWriter::State {
    explicit State(const std::filesystem::path& directory)
        : file(directory)
    {
    }

    LogFile file;
    std::mutex mutex;
    std::condition_variable idle;
    LogBacklog<LogEntry> waiting;
    bool clearsFirst = false; ///< Clear the files before writing the lines that wait.
    bool isRunning = false;
};

B2LogEvent leftOutEvent(std::size_t count)
{
    return {B2LogLevel::warning, "app",
        "The activity log lacks " + countText(static_cast<std::int64_t>(count), "line", "lines") + " here",
        "They came faster than they could be written."};
}

LogWriter::LogWriter(const std::filesystem::path& directory)
    : state_(std::make_shared<State>(directory))
{
}

std::filesystem::path LogWriter::currentPath() const
{
    return state_->file.currentPath();
}

void LogWriter::append(LogEntry entry)
{
    {
        const std::lock_guard lock(state_->mutex);
        state_->waiting.push(std::move(entry));
    }
    start();
}

void LogWriter::clear()
{
    {
        const std::lock_guard lock(state_->mutex);
        state_->waiting.clear();
        state_->clearsFirst = true;
    }
    start();
}

void LogWriter::start()
{
    {
        const std::lock_guard lock(state_->mutex);
        if (std::exchange(state_->isRunning, true))
            return;
    }
    spawn(*state_->file.home(), run(state_));
}

Task<> LogWriter::run(std::shared_ptr<State> state)
{
    constexpr std::size_t linesAtOnce = 1000;
    for (;;) {
        bool clears = false;
        std::vector<LogEntry> entries;
        {
            const std::lock_guard lock(state->mutex);
            clears = std::exchange(state->clearsFirst, false);
            if (const auto leftOut = state->waiting.takeLeftOut(); leftOut > 0)
                entries.emplace_back(leftOutEvent(leftOut));
            std::ranges::move(state->waiting.take(linesAtOnce), std::back_inserter(entries));
            if (!clears && entries.empty()) {
                state->isRunning = false;
                state->idle.notify_all();
                co_return;
            }
        }
        if (clears)
            co_await state->file.clear();
        if (!entries.empty())
            co_await state->file.append(std::move(entries));
        // Lets a reader that waits for the file have its turn.
        co_await yieldToOthers();
    }
}

bool LogWriter::flush(std::chrono::milliseconds limit)
{
    std::unique_lock lock(state_->mutex);
    return state_->idle.wait_for(lock, limit, [this] { return !state_->isRunning; });
}

Task<std::deque<LogEntry>> LogWriter::read(std::size_t limit)
{
    const auto state = state_;
    co_return co_await state->file.read(limit);
}
