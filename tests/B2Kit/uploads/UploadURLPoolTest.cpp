#include "B2Kit/uploads/UploadURLPool.h"

#include "B2Kit/uploads/B2Upload.h"
#include "tests/support/RunTask.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using Pool = UploadURLPool<B2UploadTarget>;

class UploadURLPoolTest : public testing::Test {
protected:
    static Task<B2UploadTarget> fetch(int number)
    {
        co_return B2UploadTarget{"b", "https://pod.example.com/" + std::to_string(number), "token"};
    }

    Pool::Clock::time_point now{};
    int fetched = 0;
    Pool pool{std::make_shared<SerialExecutor>(), [this] { return fetch(++fetched); }, 23h, [this] { return now; }};
};

TEST_F(UploadURLPoolTest, LeasesTheTargetThatCameBackLast)
{
    auto first = run(pool.acquire());
    auto second = run(pool.acquire());
    run(pool.release(first));
    run(pool.release(second));

    EXPECT_EQ(run(pool.acquire()).target, second.target);
    EXPECT_EQ(run(pool.acquire()).target, first.target);
    EXPECT_EQ(fetched, 2);
}

TEST_F(UploadURLPoolTest, ATargetOfTheFullAgeIsNeverUsed)
{
    run(pool.release(run(pool.acquire())));
    now += 23h - 1s;
    auto lease = run(pool.acquire());
    EXPECT_EQ(fetched, 1);

    run(pool.release(lease));
    now += 1s;
    lease = run(pool.acquire());
    EXPECT_EQ(fetched, 2);

    // It is not taken back either.
    now += 23h;
    run(pool.release(lease));
    now -= 23h;
    run(pool.acquire());
    EXPECT_EQ(fetched, 3);
}

TEST_F(UploadURLPoolTest, DropsDiscardedAndForgottenTargets)
{
    const auto lease = run(pool.acquire());
    run(pool.release(lease));
    run(pool.release(lease));
    run(pool.discard(lease.target));
    run(pool.acquire());
    EXPECT_EQ(fetched, 2);

    run(pool.release(lease));
    run(pool.removeAll());
    run(pool.acquire());
    EXPECT_EQ(fetched, 3);
}

} // namespace
