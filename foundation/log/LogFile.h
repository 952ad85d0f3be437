#pragma once

#include "async/Task.h"
#include "foundation/log/LogEntry.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

/// The activity log on disk: "activity.jsonl" and, before it in time, "activity-previous.jsonl".
///
/// An actor: all work with the files happens off the main thread, one operation at a time. No operation fails: a
/// problem with the disk loses log lines and disturbs nothing else. Files are for the owner alone.
class LogFile final : public Actor {
public:
    /// A file above this size is rotated before the next line is written.
    static constexpr std::int64_t rotateAboveBytes = 5'000'000;

    /// Creates the directory if it is missing.
    explicit LogFile(std::filesystem::path directory);

    const std::filesystem::path& currentPath() const { return current_; }

    /// Adds the entries, in order, in as few writes as rotation allows.
    Task<> append(std::vector<LogEntry> entries);

    /// The entries of the last `limit` lines of both files, oldest first; damaged lines are left out.
    Task<std::deque<LogEntry>> read(std::size_t limit);

    /// Removes both files.
    Task<> clear();

private:
    class Writing;

    void rotate() const;

    SerialExecutor executor_{WorkerPool::blocking()};
    std::filesystem::path current_;
    std::filesystem::path previous_;
};
