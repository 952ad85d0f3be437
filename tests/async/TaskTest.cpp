#include "async/OneShot.h"
#include "tests/async/RunOnPool.h"

#include <gmock/gmock.h>

#include <random>
#include <thread>

namespace {

class Counter : public Actor {
public:
    explicit Counter(WorkerPool& pool)
        : Actor(executor_)
        , executor_(pool)
    {
    }

    /// Not atomic on purpose: only the actor's executor keeps it right.
    Task<int> increment()
    {
        const int before = value_;
        co_await yieldToOthers();
        value_ = before + 1;
        co_return value_;
    }
    Task<int> incrementAtOnce() { co_return ++value_; }
    /// Writes only when two have read.
    Task<> incrementWithAnother(OneShot<void> both)
    {
        const int before = value_;
        if (++readers_ == 2)
            both.set();
        co_await both.wait();
        value_ = before + 1;
    }
    Task<Executor*> where() { co_return co_await currentExecutor(); }

private:
    SerialExecutor executor_;
    int value_ = 0;
    int readers_ = 0;
};

class TaskTest : public testing::Test, public AsyncFixture {};

Task<int> answer()
{
    co_return 42;
}

Task<int> failing()
{
    throw std::runtime_error("no");
    co_return 0;
}

} // namespace

TEST_F(TaskTest, NothingRunsUntilItIsAwaited)
{
    bool didRun = false;
    auto body = [](bool* flag) -> Task<> {
        *flag = true;
        co_return;
    };

    {
        const auto dropped = body(&didRun);
    }
    EXPECT_FALSE(didRun);
    run(body(&didRun));

    EXPECT_TRUE(didRun);
}

TEST_F(TaskTest, ReturnsValuesAndFailuresThroughSeveralLevels)
{
    auto outer = []() -> Task<int> { co_return co_await answer() + 1; };
    auto throwing = []() -> Task<int> { co_return co_await failing() + 1; };

    EXPECT_EQ(run(outer()), 43);
    EXPECT_THROW(run(throwing()), std::runtime_error);
}

TEST_F(TaskTest, AMillionInlineAwaitsDoNotGrowTheStack)
{
    auto loop = []() -> Task<long> {
        long sum = 0;
        for (int i = 0; i < 1'000'000; ++i)
            sum += co_await answer();
        co_return sum;
    };

    EXPECT_EQ(run(loop()), 42'000'000);
}

TEST_F(TaskTest, AnActorsMembersRunAtItsHomeAndTheCallerResumesOnItsOwn)
{
    Counter counter(pool);
    auto body = [](Counter* actor, Executor* mine) -> Task<bool> {
        Executor* const there = co_await actor->where();
        Executor* const here = co_await currentExecutor();
        co_return there == actor->home() && here == mine;
    };

    EXPECT_TRUE(run(body(&counter, &main)));
}

TEST_F(TaskTest, AnActorsStateIsSafeUnderManyCallers)
{
    Counter counter(pool);
    std::vector<std::unique_ptr<SerialExecutor>> callers;
    std::vector<SpawnedTask> tasks;
    auto body = [](Counter* actor) -> Task<> {
        for (int i = 0; i < 500; ++i)
            co_await actor->incrementAtOnce();
    };

    for (int i = 0; i < 8; ++i) {
        callers.push_back(std::make_unique<SerialExecutor>(pool));
        tasks.push_back(spawn(*callers.back(), body(&counter)));
    }
    auto all = [](std::vector<SpawnedTask>* spawned) -> Task<> {
        for (auto& task : *spawned)
            co_await task.done.wait();
    };
    run(all(&tasks));

    EXPECT_EQ(run(counter.incrementAtOnce()), 8 * 500 + 1);
}

TEST_F(TaskTest, AnActorIsReleasedWhileItsMemberWaits)
{
    Counter counter(pool);
    auto body = [](Counter* actor, Executor* executor) -> Task<int> {
        const OneShot<void> both;
        auto one = spawn(*executor, actor->incrementWithAnother(both));
        auto two = spawn(*executor, actor->incrementWithAnother(both));
        co_await one.done.wait();
        co_await two.done.wait();
        co_return co_await actor->incrementAtOnce();
    };

    // Both read 0 before either wrote, so the second got in while the first waited.
    EXPECT_EQ(run(body(&counter, &main)), 2);
}

TEST_F(TaskTest, AStopReachesTheInnermostWait)
{
    std::stop_source stop;
    const OneShot<int> never;
    auto inner = [](OneShot<int> shot) -> Task<int> { co_return co_await shot.wait(); };
    auto outer = [](Task<int> task) -> Task<int> { co_return co_await std::move(task); };

    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        stop.request_stop();
    });
    EXPECT_THROW(run(outer(inner(never)), stop), Cancelled);
    later.join();

    EXPECT_THROW(run(outer(inner(never)), stop), Cancelled) << "a stop before the start counts too";
}

TEST_F(TaskTest, AOneShotTakesTheFirstOutcomeOnly)
{
    const OneShot<std::string> shot;
    auto body = [](OneShot<std::string> it) -> Task<std::string> { co_return co_await it.wait(); };

    EXPECT_TRUE(shot.set("first"));
    EXPECT_FALSE(shot.set("second"));
    EXPECT_FALSE(shot.fail(std::make_exception_ptr(std::runtime_error("late"))));

    EXPECT_EQ(run(body(shot)), "first");
}

TEST_F(TaskTest, AskingToStopStillWaitsForTheProducer)
{
    std::stop_source stop;
    const OneShot<int> shot;
    std::thread producer;
    auto body = [](OneShot<int> it, std::thread* thread) -> Task<int> {
        co_return co_await it.wait([it, thread] { *thread = std::thread([it] { it.set(7); }); });
    };

    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        stop.request_stop();
    });
    EXPECT_EQ(run(body(shot, &producer), stop), 7);
    later.join();
    producer.join();
}

TEST_F(TaskTest, RacingStopsAndCompletionsAlwaysEndEachTaskOnce)
{
    // Completion and stop come from two threads at nearly the same moment; run under the thread and address sanitizers.
    std::mt19937 random(20260305);
    int completed = 0;
    int cancelled = 0;
    auto body = [](OneShot<int> shot) -> Task<int> { co_return co_await shot.wait(); };
    for (int round = 0; round < 4000; ++round) {
        std::stop_source stop;
        const OneShot<int> shot;
        const auto spin = random() % 400;
        std::thread completing([&, spin] {
            for (unsigned volatile i = 0; i < spin; i = i + 1) {}
            shot.set(round);
        });
        std::thread stopping([&, spin] {
            for (unsigned volatile i = 0; i < 400 - spin; i = i + 1) {}
            stop.request_stop();
        });
        try {
            EXPECT_EQ(run(body(shot), stop), round);
            ++completed;
        } catch (const Cancelled&) {
            ++cancelled;
        }
        completing.join();
        stopping.join();
    }

    EXPECT_EQ(completed + cancelled, 4000);
}

TEST_F(TaskTest, AnExecutorMayBeDestroyedByTheLastTaskThatRanOnIt)
{
    for (int i = 0; i < 200; ++i) {
        auto counter = std::make_shared<Counter>(pool);
        auto body = [](std::shared_ptr<Counter> actor) -> Task<int> {
            const int value = co_await actor->incrementAtOnce();
            actor.reset();
            co_return value;
        };
        EXPECT_EQ(run(body(std::move(counter))), 1);
    }
}
