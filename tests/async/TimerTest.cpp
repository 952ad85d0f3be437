#include "async/Timer.h"
#include "async/Background.h"
#include "tests/async/RunOnPool.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

class TimerTest : public testing::Test, public AsyncFixture {};

} // namespace

TEST_F(TimerTest, WaitsEndInTheOrderOfTheirTimesAndNeverEarly)
{
    std::vector<int> order;
    const auto begin = std::chrono::steady_clock::now();
    auto wait = [](int milliseconds, std::vector<int>* ended) -> Task<> {
        co_await sleepFor(std::chrono::milliseconds(milliseconds));
        ended->push_back(milliseconds);
    };
    const std::vector<int> times{60, 20, 40, 0};

    run(forEachBounded(times.size(), 4, [&](std::size_t i) { return wait(times[i], &order); }));

    EXPECT_THAT(order, testing::ElementsAre(0, 20, 40, 60));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(60));
}

TEST_F(TimerTest, AStopEndsAWaitAtOnce)
{
    std::stop_source stop;
    const auto begin = std::chrono::steady_clock::now();
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        stop.request_stop();
    });

    EXPECT_THROW(run(sleepFor(std::chrono::nanoseconds::max()), stop), Cancelled);
    later.join();

    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(TimerTest, BlockingWorkRunsElsewhereAndItsFailureComesBack)
{
    auto elsewhere = []() -> Task<bool> {
        const auto worker = co_await runInBackground([] { return std::this_thread::get_id(); });
        co_return worker != std::this_thread::get_id();
    };

    EXPECT_TRUE(run(elsewhere()));
    EXPECT_THROW(run(runInBackground([] { throw std::runtime_error("disk"); })), std::runtime_error);
}
