#include "foundation/MainExecutor.h"
#include "async/Timer.h"
#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "tests/foundation/TemporaryDirectory.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QThread>
#include <QTimer>

#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

Task<> note(std::vector<int>* notes, int number)
{
    notes->push_back(number);
    co_return;
}

TEST(MainExecutorTest, RunsInTheOrderOfPostingAndNeverInline)
{
    std::vector<int> notes;
    for (int i = 0; i < 3; ++i)
        spawn(MainExecutor::shared(), note(&notes, i));
    EXPECT_THAT(notes, ElementsAre());

    EXPECT_TRUE(spinUntil([&] { return notes.size() == 3; }));

    EXPECT_THAT(notes, ElementsAre(0, 1, 2));
}

TEST(MainExecutorTest, TakesTasksFromOtherThreads)
{
    constexpr int perThread = 2000;
    int count = 0;
    bool wereAllOnMain = true;
    QThread* const main = QThread::currentThread();
    auto increment = [](int* counter, bool* onMain, QThread* expected) -> Task<> {
        ++*counter;
        *onMain = *onMain && QThread::currentThread() == expected;
        co_return;
    };
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int j = 0; j < perThread; ++j)
                    spawn(MainExecutor::shared(), increment(&count, &wereAllOnMain, main));
            });
        EXPECT_TRUE(spinUntil([&] { return count == 4 * perThread; }));
    }
    EXPECT_TRUE(wereAllOnMain);
}

TEST(MainExecutorTest, LetsTimersFireWhileTasksKeepRunning)
{
    auto busy = [](std::stop_token stop) -> Task<> {
        while (!stop.stop_requested())
            co_await yieldToOthers();
    };
    std::stop_source stop;
    for (int i = 0; i < 3; ++i)
        spawn(MainExecutor::shared(), busy(stop.get_token()));
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(10ms);

    EXPECT_TRUE(spinUntil([&] { return ticks >= 10; }, 5s));

    stop.request_stop();
    qtRun(sleepFor(20ms));
}

class TaskScopeTest : public testing::Test {
protected:
    void SetUp() override { ActivityLog::setShared(&log); }
    void TearDown() override
    {
        log.flush(5s);
        ActivityLog::setShared(nullptr);
    }

    TemporaryDirectory directory;
    Settings settings{std::filesystem::path()};
    ActivityLog log{settings, directory.path()};
};

TEST_F(TaskScopeTest, ReportsAnExceptionThatEscapesATaskButNoCancel)
{
    auto failing = []() -> Task<> {
        throw std::runtime_error("The disk is on fire.");
        co_return;
    };
    TaskScope scope;
    scope.start(sleepFor(1h));
    scope.start(failing());

    EXPECT_TRUE(spinUntil([&] { return scope.running() == 1; }));
    scope.cancelAll();
    qtRun(scope.drain());

    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].level, B2LogLevel::error);
    EXPECT_EQ(log.entries()[0].category, "app");
    EXPECT_EQ(log.entries()[0].detail, "The disk is on fire.");
}

TEST_F(TaskScopeTest, DrainsTasksStartedInTheMeantime)
{
    bool hasEnded = false;
    auto second = [](bool* ended) -> Task<> {
        co_await sleepFor(10ms);
        *ended = true;
    };
    auto first = [](TaskScope* scope, Task<> next) -> Task<> {
        co_await sleepFor(1ms);
        scope->start(std::move(next));
    };
    TaskScope scope;
    scope.start(first(&scope, second(&hasEnded)));

    qtRun(scope.drain());

    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(scope.running(), 0U);
}

TEST_F(TaskScopeTest, StopsItsTasksWhenItIsDestroyed)
{
    OneShot<void> ended;
    auto waiting = [](OneShot<void> told) -> Task<> {
        try {
            co_await sleepFor(1h);
        } catch (const Cancelled&) {
            told.set();
            throw;
        }
    };
    {
        TaskScope scope;
        scope.start(waiting(ended));
        qtRun(sleepFor(1ms));
    }
    auto wait = [](OneShot<void> told) -> Task<> { co_await told.wait(); };
    qtRun(wait(ended), 2s);
    EXPECT_TRUE(log.entries().empty());

    bool hasBegun = false;
    auto begin = [](bool* begun) -> Task<> {
        *begun = true;
        co_return;
    };
    {
        TaskScope scope;
        scope.start(begin(&hasBegun));
    }
    qtRun(sleepFor(5ms));
    EXPECT_FALSE(hasBegun);
}

} // namespace
