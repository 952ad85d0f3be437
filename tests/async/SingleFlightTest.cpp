#include "async/SingleFlight.h"
#include "async/Stream.h"
#include "async/Timer.h"
#include "tests/async/RunOnPool.h"

#include <gmock/gmock.h>

#include <atomic>

namespace {

class SingleFlightTest : public testing::Test, public AsyncFixture {
protected:
    SingleFlight<int> flight;
    std::atomic<int> starts = 0;
    std::atomic<int> cancelledRuns = 0;

    Task<int> slow(int value)
    {
        const int number = ++starts;
        try {
            co_await sleepFor(std::chrono::milliseconds(50));
        } catch (const Cancelled&) {
            ++cancelledRuns;
            throw;
        }
        if (value < 0)
            throw std::runtime_error("run " + std::to_string(number));
        co_return value;
    }
    Task<int> join(int value)
    {
        co_return co_await flight.join([this, value] { return slow(value); });
    }
    Task<> joinAll(int count, int value, std::vector<int>* results)
    {
        co_await forEachBounded(count, count, [this, value, results](std::size_t) { return store(value, results); });
    }
    Task<> store(int value, std::vector<int>* results) { results->push_back(co_await join(value)); }
};

} // namespace

TEST_F(SingleFlightTest, WaitersShareOneRunAndTheNextOneStartsAnother)
{
    std::vector<int> results;

    run(joinAll(10, 5, &results));
    EXPECT_EQ(starts, 1);
    EXPECT_THAT(results, testing::ElementsAreArray(std::vector<int>(10, 5)));

    EXPECT_EQ(run(join(6)), 6);
    EXPECT_EQ(starts, 2);
}

TEST_F(SingleFlightTest, AFailureReachesEveryWaiterAndIsNotKept)
{
    std::vector<int> results;

    EXPECT_THROW(run(joinAll(3, -1, &results)), std::runtime_error);
    EXPECT_EQ(starts, 1);

    EXPECT_EQ(run(join(1)), 1);
}

TEST_F(SingleFlightTest, AWaiterMayLeaveAndTheLastOneToLeaveStopsTheRun)
{
    std::stop_source first;
    std::stop_source second;
    auto leaving = [this](std::stop_source one, std::stop_source two) -> Task<int> {
        auto ignore = [](Task<int> task) -> Task<> { (void)co_await std::move(task); };
        Executor& executor = *co_await currentExecutor();
        auto a = spawn(executor, ignore(join(1)), one);
        auto b = spawn(executor, ignore(join(1)), two);
        co_await sleepFor(std::chrono::milliseconds(5));
        one.request_stop();
        co_await sleepFor(std::chrono::milliseconds(5));
        const int cancelledAfterOne = cancelledRuns;
        two.request_stop();
        co_await sleepFor(std::chrono::milliseconds(30));
        co_return cancelledAfterOne;
    };

    EXPECT_EQ(run(leaving(first, second)), 0);
    EXPECT_EQ(cancelledRuns, 1);
    EXPECT_EQ(run(join(3)), 3) << "an abandoned run does not block the next";
}

TEST_F(SingleFlightTest, AStreamRunsOnlyWhenAskedAndPassesItsFailureOn)
{
    int produced = 0;
    Stream<int> stream([&produced]() -> Task<std::optional<int>> {
        auto next = [](int* count) -> Task<std::optional<int>> {
            if (*count == 2)
                throw std::runtime_error("third");
            co_return ++*count;
        };
        return next(&produced);
    });
    EXPECT_EQ(produced, 0);

    EXPECT_EQ(run(stream.next()), 1);
    EXPECT_EQ(produced, 1);
    EXPECT_EQ(run(stream.next()), 2);

    EXPECT_THROW(run(stream.next()), std::runtime_error);
}
