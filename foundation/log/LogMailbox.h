#pragma once

#include "foundation/log/LogBacklog.h"

#include <QEvent>
#include <QObject>

#include <atomic>
#include <mutex>
#include <vector>

/// Events of other threads on their way to the activity log. Callable from any thread.
class LogMailbox {
public:
    /// @param reader  receives an event when there is something to take.
    explicit LogMailbox(QObject* reader);

    /// Returns whether it is the event that asks to `take`.
    bool isAnnouncement(const QEvent& event);

    /// Drops all further events, because the reader no longer exists.
    void close();

    /// Events below it are dropped at once.
    void setMinimumLevel(B2LogLevel level) { minimumLevel_ = level; }

    void post(B2LogEvent event);

    /// Takes some of the events, oldest first; the reader receives another event if more remain.
    std::vector<B2LogEvent> take();

private:
    std::mutex mutex_;
    QObject* reader_;
    LogBacklog<B2LogEvent> waiting_;
    bool isAnnounced_ = false;
    std::atomic<B2LogLevel> minimumLevel_ = B2LogLevel::debug;
};
