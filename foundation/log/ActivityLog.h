#pragma once

#include "B2Kit/B2Log.h"
#include "async/Task.h"
#include "foundation/Observable.h"
#include "foundation/log/LogEntry.h"
#include "foundation/log/LogWriter.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <memory>
#include <vector>

class LogMailbox;
class Settings;

/// What the program did, for the user to read: the last 5,000 entries in memory, and about 10 MB on disk.
///
/// Lives on the main thread and never touches the disk there. No operation fails. `changed()` tells of any change;
/// the other signals say which, for tables, each sent when `entries` is already as it says.
class ActivityLog final : public Observable {
    Q_OBJECT

public:
    static constexpr std::size_t maxEntries = 5'000;

    /// @param directory  of the files; created when it is missing.
    ActivityLog(Settings& settings, const std::filesystem::path& directory);
    ~ActivityLog() override;

    /// Oldest first.
    const std::deque<LogEntry>& entries() const { return entries_; }

    /// Events below it are discarded; kept in the settings.
    B2LogLevel minimumLevel() const { return minimumLevel_; }
    void setMinimumLevel(B2LogLevel level);

    /// Writes an event: the one way into the log. Other threads use an `ActivityLogSink`.
    void record(B2LogEvent event);

    /// Puts the entries of earlier runs before those of this one. May leave more than 5,000, until the next event.
    Task<> loadPersisted();

    /// Empties the log in memory and on disk.
    void clear();

    /// Writes what waits and blocks until it is on disk, at most `limit`; for the end of the process.
    ///
    /// @returns false when the time was too short.
    bool flush(std::chrono::milliseconds limit);

    /// The current file, whether it exists or not.
    std::filesystem::path filePath() const { return writer_.currentPath(); }

    /// The log of the process: the one given to `setShared`, else that of the user's files, made on first use.
    static ActivityLog& shared();
    /// Puts another log in its place, for a demonstration or a test; null for the user's own. Not owned.
    static void setShared(ActivityLog* log);

Q_SIGNALS:
    /// The last `count` entries are new.
    void appended(int count);
    /// The first `count` entries of before have gone.
    void removedOldest(int count);
    /// Every entry may be another one.
    void reset();

protected:
    bool event(QEvent* event) override;

private:
    friend class ActivityLogSink;

    void recordAll(std::vector<B2LogEvent> events);

    Settings& settings_;
    LogWriter writer_;
    std::shared_ptr<LogMailbox> mailbox_;
    std::deque<LogEntry> entries_;
    B2LogLevel minimumLevel_ = B2LogLevel::info;
};

/// Brings events of any thread to the activity log, many in one hop to the main thread.
///
/// May outlive the log, whose end makes it drop what comes. What waits for a busy main thread is bounded (see
/// `LogBacklog`).
class ActivityLogSink final : public B2LogSink {
public:
    explicit ActivityLogSink(ActivityLog& log);

    void log(B2LogEvent event) override;

private:
    std::shared_ptr<LogMailbox> mailbox_;
};
