#include "foundation/log/LogMailbox.h"

#include <QCoreApplication>

#include <utility>

namespace {

QEvent::Type announcement()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace

LogMailbox::LogMailbox(QObject* reader)
    : reader_(reader)
{
}

bool LogMailbox::isAnnouncement(const QEvent& event)
{
    // A thread sanitizer does not see the lock inside Qt that the event came through; it sees this one.
    const std::lock_guard lock(mutex_);
    return event.type() == announcement();
}

void LogMailbox::close()
{
    const std::lock_guard lock(mutex_);
    reader_ = nullptr;
    waiting_.clear();
}

void LogMailbox::post(B2LogEvent event)
{
    if (event.level < minimumLevel_)
        return;
    const std::lock_guard lock(mutex_);
    if (!reader_)
        return;
    waiting_.push(std::move(event));
    if (!std::exchange(isAnnounced_, true))
        QCoreApplication::postEvent(reader_, new QEvent(announcement()));
}

std::vector<B2LogEvent> LogMailbox::take()
{
    // No more than one turn of the loop has time for.
    constexpr std::size_t eventsAtOnce = 500;
    const std::lock_guard lock(mutex_);
    std::vector<B2LogEvent> events;
    if (const auto leftOut = waiting_.takeLeftOut(); leftOut > 0)
        events.push_back(leftOutEvent(leftOut));
    for (auto& event : waiting_.take(eventsAtOnce))
        events.push_back(std::move(event));
    isAnnounced_ = reader_ && !waiting_.isEmpty();
    if (isAnnounced_)
        QCoreApplication::postEvent(reader_, new QEvent(announcement()), Qt::LowEventPriority - 1);
    return events;
}
