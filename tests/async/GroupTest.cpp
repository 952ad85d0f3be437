#include "async/Timer.h"
#include "tests/async/RunOnPool.h"

#include <gmock/gmock.h>

namespace {

class GroupTest : public testing::Test, public AsyncFixture {
protected:
    int running = 0;
    int mostAtOnce = 0;
    std::vector<std::size_t> ended;

    Task<> unit(std::size_t index)
    {
        mostAtOnce = std::max(mostAtOnce, ++running);
        struct Leave {
            int* count;
            ~Leave() { --*count; }
        } const leave{&running};
        co_await sleepFor(std::chrono::milliseconds(index % 3));
        ended.push_back(index);
    }
};

} // namespace

TEST_F(GroupTest, RunsEveryUnitWithinItsWidth)
{
    run(forEachBounded(50, 4, [this](std::size_t i) { return unit(i); }));

    EXPECT_EQ(ended.size(), 50U);
    EXPECT_EQ(mostAtOnce, 4);
    EXPECT_EQ(running, 0);
}

TEST_F(GroupTest, AnEmptyGroupAndOneNarrowerThanItsWidthEnd)
{
    run(forEachBounded(0, 4, [this](std::size_t i) { return unit(i); }));
    EXPECT_TRUE(ended.empty());

    run(forEachBounded(2, 8, [this](std::size_t i) { return unit(i); }));
    EXPECT_EQ(ended.size(), 2U);
}

TEST_F(GroupTest, TheFirstFailureStopsTheRestAndWaitsForThem)
{
    auto failing = [this](std::size_t i) -> Task<> {
        if (i == 5)
            throw std::runtime_error("unit 5");
        co_await unit(i);
        co_await sleepFor(std::chrono::seconds(i > 2 ? 20 : 0));
    };

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT([&] { run(forEachBounded(100, 4, failing)); }, testing::ThrowsMessage<std::runtime_error>("unit 5"));

    EXPECT_EQ(running, 0);
    EXPECT_LT(ended.size(), 20U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(GroupTest, AStopOfTheCallerEndsTheGroupAsACancellation)
{
    std::stop_source stop;
    auto forever = [this, &stop](std::size_t i) -> Task<> {
        if (i == 3)
            stop.request_stop();
        co_await unit(i);
        co_await sleepFor(std::chrono::seconds(60));
    };

    EXPECT_THROW(run(forEachBounded(100, 4, forever), stop), Cancelled);

    EXPECT_EQ(running, 0);
}
