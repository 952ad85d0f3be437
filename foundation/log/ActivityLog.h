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

/// A record of what the program did, for the user to read: the last 5,000 entries in memory, and about 10 MB on disk.
///
/// Lives on the main thread and never touches the disk there. No operation fails. `changed()` reports any change;
/// the other signals say which one, for tables, and are sent when `entries` has changed already.
class ActivityLog final : public Observable {
    Q_OBJECT

public:
    static constexpr std::size_t maxEntries = 5'000;

    /// @param directory  where the files are; created if it is missing.
    ActivityLog(Settings& settings, const std::filesystem::path& directory);
    ~ActivityLog() override;

    /// Oldest first.
    const std::deque<LogEntry>& entries() const { return entries_; }

    /// Events below it are discarded; kept in the settings.
    B2LogLevel minimumLevel() const { return minimumLevel_; }
    void setMinimumLevel(B2LogLevel level);

    /// Writes an event: the one way into the log. Other threads use an `ActivityLogSink`.
    void record(B2LogEvent event);

    /// Loads the entries of earlier runs before those of this one. There may be more than 5,000 until the next event.
    Task<> loadPersisted();

    /// Empties the log in memory and on disk.
    void clear();

    /// Writes the lines that wait and blocks until they are on disk, at most `limit`; for the end of the process.
    ///
    /// @returns false when the time was too short.
    bool flush(std::chrono::milliseconds limit);

    /// The current file, whether it exists or not.
    std::filesystem::path filePath() const { return writer_.currentPath(); }

    /// The log of the process: the one given to `setShared`, else that of the user's files, made on first use.
    static ActivityLog& shared();
    /// Replaces it, for a demonstration or a test; null restores the user's own. Not owned.
    static void setShared(ActivityLog* log);

Q_SIGNALS:
    /// The last `count` entries are new.
    void appended(int count);
    /// The first `count` entries were removed.
    void removedOldest(int count);
    /// Any entry may have changed.
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

/// Passes events from any thread to the activity log, many in one hop to the main thread.
///
/// May outlive the log, and then drops further events. The events that wait for a busy main thread are limited (see
/// `LogBacklog`).
class ActivityLogSink final : public B2LogSink {
public:
    explicit ActivityLogSink(ActivityLog& log);

    void log(B2LogEvent event) override;

private:
    std::shared_ptr<LogMailbox> mailbox_;
};
