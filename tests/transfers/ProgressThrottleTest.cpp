#include "transfers/ProgressThrottle.h"

#include <gmock/gmock.h>

#include <vector>

using testing::ElementsAre;

namespace {

class ProgressThrottleTest : public testing::Test {
protected:
    void report(std::int64_t total, std::initializer_list<std::int64_t> reports)
    {
        for (const auto done : reports)
            throttle.report(done, total);
    }

    std::vector<std::int64_t> shown;
    ProgressThrottle throttle{{0.1, 50}, [this](std::int64_t done, std::int64_t) { shown.push_back(done); }};
};

TEST_F(ProgressThrottleTest, StepsByTheFractionOfALargeWhole)
{
    report(1000, {1, 99, 100, 199, 200, 999, 1000});

    EXPECT_THAT(shown, ElementsAre(100, 200, 999, 1000));
}

TEST_F(ProgressThrottleTest, StepsByTheMinimumOfASmallWholeAndAlwaysShowsTheEnd)
{
    report(120, {49, 50, 99, 119, 120, 120});

    EXPECT_THAT(shown, ElementsAre(50, 119, 120, 120));
}

TEST_F(ProgressThrottleTest, ShowsAtOnceThatATransferStartsOver)
{
    report(1000, {500, 3, 102, 103});

    EXPECT_THAT(shown, ElementsAre(500, 3, 103));
}

TEST_F(ProgressThrottleTest, HasNoEndWithoutATotal)
{
    report(0, {0, 49, 50, 60});

    EXPECT_THAT(shown, ElementsAre(50));
}

} // namespace
