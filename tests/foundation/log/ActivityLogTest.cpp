#include "foundation/log/ActivityLog.h"
#include "foundation/log/LogBacklog.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"
#include "tests/foundation/TemporaryDirectory.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QSignalSpy>

#include <algorithm>
#include <thread>

using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

class ActivityLogTest : public testing::Test {
protected:
    TemporaryDirectory directory;
    Settings settings{std::filesystem::path()};

    /// Returns the messages that a new run of the program would show.
    std::vector<std::string> persisted()
    {
        ActivityLog log(settings, directory.path());
        qtRun(log.loadPersisted());
        return messagesOf(log);
    }

    static std::vector<std::string> messagesOf(const ActivityLog& log)
    {
        std::vector<std::string> messages;
        for (const auto& entry : log.entries())
            messages.push_back(entry.message);
        return messages;
    }
};

B2LogEvent event(std::string message, B2LogLevel level = B2LogLevel::info)
{
    return {level, "app", std::move(message), std::nullopt};
}

TEST_F(ActivityLogTest, KeepsTheLastFiveThousandEntries)
{
    ActivityLog log(settings, directory.path());
    // A table's rows, by the signals alone.
    std::deque<std::string> mirror;
    QObject::connect(&log, &ActivityLog::appended, [&](int count) {
        for (auto i = log.entries().size() - static_cast<std::size_t>(count); i < log.entries().size(); ++i)
            mirror.push_back(log.entries()[i].message);
    });
    QObject::connect(
        &log, &ActivityLog::removedOldest, [&](int count) { mirror.erase(mirror.begin(), mirror.begin() + count); });

    for (int i = 0; i < 5'001; ++i)
        log.record(event(std::to_string(i)));

    EXPECT_EQ(log.entries().size(), 5'000U);
    EXPECT_EQ(log.entries().front().message, "1");
    EXPECT_EQ(log.entries().back().message, "5000");
    EXPECT_TRUE(std::ranges::equal(mirror, messagesOf(log)));
    EXPECT_TRUE(log.flush(10s));
    EXPECT_EQ(persisted(), messagesOf(log));
}

TEST_F(ActivityLogTest, DiscardsEventsBelowTheMinimumForGood)
{
    ActivityLog log(settings, directory.path());
    ActivityLogSink sink(log);
    log.setMinimumLevel(B2LogLevel::notice);
    log.record(event("below", B2LogLevel::info));
    sink.log(event("below too", B2LogLevel::info));
    log.record(event("at", B2LogLevel::notice));
    log.setMinimumLevel(B2LogLevel::debug);
    log.flush(5s);

    EXPECT_THAT(messagesOf(log), ElementsAre("at"));
    EXPECT_THAT(persisted(), ElementsAre("at"));
    EXPECT_EQ(ActivityLog(settings, directory.path()).minimumLevel(), B2LogLevel::debug);
}

TEST_F(ActivityLogTest, IgnoresAStoredLevelThatIsNone)
{
    for (const int level : {-1, 5, 99}) {
        settings.set(SettingsKeys::activityLogMinimumLevel, level);
        EXPECT_EQ(ActivityLog(settings, directory.path()).minimumLevel(), B2LogLevel::info);
    }
    settings.set(SettingsKeys::activityLogMinimumLevel, "debug");
    EXPECT_EQ(ActivityLog(settings, directory.path()).minimumLevel(), B2LogLevel::info);
}

TEST_F(ActivityLogTest, PutsEarlierRunsBeforeThisOneWithoutDuplicates)
{
    {
        ActivityLog earlier(settings, directory.path());
        earlier.record(event("earlier"));
        earlier.flush(5s);
    }
    ActivityLog log(settings, directory.path());
    log.record(event("on disk and in memory"));
    log.flush(5s);
    log.record(event("during the load"));
    const QSignalSpy resets(&log, &ActivityLog::reset);

    qtRun(log.loadPersisted());

    EXPECT_THAT(messagesOf(log), ElementsAre("earlier", "on disk and in memory", "during the load"));
    EXPECT_EQ(resets.count(), 1);
    log.flush(5s);
}

TEST_F(ActivityLogTest, RestoresTheBoundWithTheNextEvent)
{
    {
        ActivityLog earlier(settings, directory.path());
        for (int i = 0; i < 5'000; ++i)
            earlier.record(event(std::to_string(i)));
        earlier.flush(10s);
    }
    ActivityLog log(settings, directory.path());
    log.record(event("new"));
    qtRun(log.loadPersisted());
    EXPECT_GE(log.entries().size(), 5'000U);
    log.record(event("newest"));

    EXPECT_EQ(log.entries().size(), 5'000U);
    EXPECT_EQ(log.entries().back().message, "newest");
    log.flush(5s);
}

TEST_F(ActivityLogTest, IsEmptyInMemoryAndOnDiskOnceCleared)
{
    ActivityLog log(settings, directory.path());
    for (int i = 0; i < 3'000; ++i)
        log.record(event(std::to_string(i)));
    log.clear();
    EXPECT_TRUE(log.entries().empty());
    log.flush(5s);
    EXPECT_FALSE(std::filesystem::exists(log.filePath()));

    log.record(event("after"));
    log.flush(5s);

    EXPECT_THAT(persisted(), ElementsAre("after"));
}

TEST_F(ActivityLogTest, TakesAFloodFromOtherThreadsInOrderWithoutBlockingTheLoop)
{
    constexpr int linesPerThread = 20'000;
    ActivityLog log(settings, directory.path());
    std::vector<int> lastOfThread(2, -1);
    bool isInOrder = true;
    QObject::connect(&log, &ActivityLog::appended, [&](int count) {
        for (auto i = log.entries().size() - static_cast<std::size_t>(count); i < log.entries().size(); ++i) {
            if (log.entries()[i].level != B2LogLevel::notice)
                continue;
            const auto number = std::stoi(log.entries()[i].message);
            auto& last = lastOfThread[static_cast<std::size_t>(number % 2)];
            isInOrder = isInOrder && number > last;
            last = number;
        }
    });
    std::chrono::nanoseconds longestTurn{};
    const std::string padding(60, 'x');
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 2; ++thread)
            threads.emplace_back([&, thread] {
                ActivityLogSink sink(log);
                for (int i = 0; i < linesPerThread; ++i) {
                    sink.notice("app", std::to_string(2 * i + thread), padding);
                    if (i % 20 == 0)
                        std::this_thread::sleep_for(1ms); // About 1,000,000 lines a minute and more.
                }
            });
        const bool hasEnded = spinUntil(
            [&] {
                static auto last = std::chrono::steady_clock::now();
                const auto now = std::chrono::steady_clock::now();
                longestTurn = std::max<std::chrono::nanoseconds>(longestTurn, now - last);
                last = now;
                return lastOfThread[0] == 2 * (linesPerThread - 1) && lastOfThread[1] == 2 * linesPerThread - 1;
            },
            60s);
        EXPECT_TRUE(hasEnded);
    }
    EXPECT_TRUE(isInOrder);
    EXPECT_EQ(log.entries().size(), 5'000U);
    EXPECT_LT(longestTurn, 250ms); // Usually some milliseconds; more on a busy machine and under sanitizers.

    EXPECT_TRUE(log.flush(20s));
    const auto onDisk = persisted();
    EXPECT_TRUE(std::ranges::equal(onDisk, messagesOf(log)));
}

TEST_F(ActivityLogTest, DropsEventsThatArriveAfterItsEnd)
{
    auto log = std::make_unique<ActivityLog>(settings, directory.path());
    ActivityLogSink sink(*log);
    sink.info("app", "in time");
    log->flush(5s);
    log.reset();

    sink.info("app", "too late");
    QCoreApplication::processEvents();

    EXPECT_THAT(persisted(), ElementsAre("in time"));
}

TEST(LogBacklogTest, DropsDebugLinesFirstAndCountsThem)
{
    LogBacklog<B2LogEvent> backlog;
    for (std::size_t i = 0; i < backlog.capacity; ++i)
        backlog.push(event(std::to_string(i), i % 2 == 0 ? B2LogLevel::debug : B2LogLevel::info));
    backlog.push(event("last", B2LogLevel::error));

    EXPECT_EQ(backlog.takeLeftOut(), backlog.capacity / 2);
    const auto half = backlog.take(backlog.capacity);
    EXPECT_EQ(half.size(), backlog.capacity / 2 + 1);
    EXPECT_EQ(half.front().message, "1");
    EXPECT_EQ(half.back().message, "last");

    for (std::size_t i = 0; i <= backlog.capacity; ++i)
        backlog.push(event(std::to_string(i)));
    EXPECT_EQ(backlog.takeLeftOut(), backlog.capacity / 4);
    EXPECT_EQ(backlog.take(1).front().message, std::to_string(backlog.capacity / 4));
}

} // namespace
