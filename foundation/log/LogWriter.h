#pragma once

#include "async/Task.h"
#include "foundation/log/LogEntry.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <memory>

/// Writes log entries to the disk in the order of the calls, without making the caller wait. Callable from any thread.
///
/// The lines that wait for a slow disk are limited (see `LogBacklog`); the file then says how many are missing.
class LogWriter {
public:
    explicit LogWriter(const std::filesystem::path& directory);

    std::filesystem::path currentPath() const;

    void append(LogEntry entry);

    /// Removes the files and everything appended before.
    void clear();

    /// Waits until everything is written, at most `limit`; for the end of the process.
    ///
    /// @returns false when the time was too short.
    bool flush(std::chrono::milliseconds limit);

    /// See `LogFile::read`.
    Task<std::deque<LogEntry>> read(std::size_t limit);

private:
    struct State;

    static Task<> run(std::shared_ptr<State> state);
    void start();

    std::shared_ptr<State> state_;
};
