#include "foundation/log/ActivityLog.h"

#include "foundation/Paths.h"
#include "foundation/log/LogMailbox.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"

#include <QPointer>
#include <QSet>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

ActivityLog* injectedLog = nullptr;

} // namespace

ActivityLog::ActivityLog(Settings& settings, const std::filesystem::path& directory)
    : settings_(settings)
    , writer_(directory)
    , mailbox_(std::make_shared<LogMailbox>(this))
{
    const auto stored = settings.integer(SettingsKeys::activityLogMinimumLevel);
    if (stored && *stored >= 0 && *stored <= static_cast<int>(B2LogLevel::error))
        minimumLevel_ = static_cast<B2LogLevel>(*stored);
    mailbox_->setMinimumLevel(minimumLevel_);
}

ActivityLog::~ActivityLog()
{
    mailbox_->close();
}

void ActivityLog::setMinimumLevel(B2LogLevel level)
{
    if (level == minimumLevel_)
        return;
    minimumLevel_ = level;
    mailbox_->setMinimumLevel(level);
    settings_.set(SettingsKeys::activityLogMinimumLevel, static_cast<int>(level));
    markChanged();
}

void ActivityLog::record(B2LogEvent event)
{
    Q_ASSERT(thread() == QThread::currentThread());
    std::vector<B2LogEvent> events;
    events.push_back(std::move(event));
    recordAll(std::move(events));
}

void ActivityLog::recordAll(std::vector<B2LogEvent> events)
{
    std::erase_if(events, [this](const B2LogEvent& event) { return event.level < minimumLevel_; });
    if (events.empty())
        return;
    const auto total = entries_.size() + events.size();
    if (total > maxEntries) {
        const auto excess = static_cast<std::ptrdiff_t>(std::min(total - maxEntries, entries_.size()));
        entries_.erase(entries_.begin(), entries_.begin() + excess);
        Q_EMIT removedOldest(static_cast<int>(excess));
    }
    for (auto& event : events) {
        entries_.emplace_back(std::move(event));
        writer_.append(entries_.back());
    }
    markChanged();
    Q_EMIT appended(static_cast<int>(events.size()));
}

bool ActivityLog::event(QEvent* event)
{
    if (!mailbox_->isAnnouncement(*event))
        return Observable::event(event);
    recordAll(mailbox_->take());
    return true;
}

Task<> ActivityLog::loadPersisted()
{
    const QPointer<ActivityLog> self(this);
    auto merged = co_await writer_.read(maxEntries);
    if (!self)
        co_return;
    QSet<QUuid> present;
    for (const auto& entry : entries_)
        present.insert(entry.id);
    std::erase_if(merged, [&present](const LogEntry& entry) { return present.contains(entry.id); });
    if (merged.empty())
        co_return;
    std::ranges::move(entries_, std::back_inserter(merged));
    entries_ = std::move(merged);
    markChanged();
    Q_EMIT reset();
}

void ActivityLog::clear()
{
    entries_.clear();
    writer_.clear();
    markChanged();
    Q_EMIT reset();
}

bool ActivityLog::flush(std::chrono::milliseconds limit)
{
    for (auto events = mailbox_->take(); !events.empty(); events = mailbox_->take())
        recordAll(std::move(events));
    return writer_.flush(limit);
}

ActivityLog& ActivityLog::shared()
{
    if (injectedLog)
        return *injectedLog;
    // Leaked on purpose: tasks that end late may still report.
    static auto* const own = new ActivityLog(Settings::shared(), stateDirectory() / "Logs");
    return *own;
}

void ActivityLog::setShared(ActivityLog* log)
{
    injectedLog = log;
}

ActivityLogSink::ActivityLogSink(ActivityLog& log)
    : mailbox_(log.mailbox_)
{
}

void ActivityLogSink::log(B2LogEvent event)
{
    mailbox_->post(std::move(event));
}
