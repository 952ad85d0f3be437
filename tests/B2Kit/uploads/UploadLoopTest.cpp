#include "B2Kit/uploads/B2UploadLoop.h"

#include "B2Kit/B2Error.h"
#include "async/Cancelled.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using Kind = B2UploadStep::Kind;

template <class Failure>
B2UploadStep stepAfter(Failure failure, int attempt, double jitter = 0.5)
{
    return stepAfterUploadFailure(B2RetryPolicy(), attempt, std::make_exception_ptr(std::move(failure)), jitter);
}

const B2Error busy(B2APIError{503, "service_unavailable", "no tomes available"});

TEST(UploadLoop, WaitsLongerAfterEachAttemptAndStopsAfterTheTwentieth)
{
    EXPECT_EQ(stepAfter(busy, 1), (B2UploadStep{Kind::retry, 1.5}));
    EXPECT_EQ(stepAfter(busy, 2), (B2UploadStep{Kind::retry, 2.0}));
    EXPECT_EQ(stepAfter(busy, 19, 1), (B2UploadStep{Kind::retry, 65}));
    EXPECT_EQ(stepAfter(busy, 20), (B2UploadStep{Kind::giveUp}));
}

TEST(UploadLoop, RepeatsOnlyWhatAnotherTargetCanHeal)
{
    EXPECT_EQ(stepAfter(B2Error(B2APIError{401, "expired_auth_token", ""}), 1).kind, Kind::retry);
    EXPECT_EQ(stepAfter(B2TransportError(B2TransportError::Code::connectionLost, "lost"), 1).kind, Kind::retry);
    EXPECT_EQ(stepAfter(std::runtime_error("unknown"), 1).kind, Kind::retry);

    EXPECT_EQ(stepAfter(B2Error(B2APIError{400, "bad_request", ""}), 1).kind, Kind::giveUp);
    EXPECT_EQ(stepAfter(B2Error(B2Error::SourceChangedSinceUpload{3}), 1).kind, Kind::giveUp);
    EXPECT_EQ(stepAfter(B2FileError(B2FileError::Operation::read, "a.txt", ENOENT), 1).kind, Kind::giveUp);
}

TEST(UploadLoop, AStopIsNeitherRepeatedNorAFailure)
{
    EXPECT_EQ(stepAfter(Cancelled(), 1), (B2UploadStep{Kind::stopped}));
    EXPECT_EQ(stepAfter(Cancelled(), 20), (B2UploadStep{Kind::stopped}));
}

} // namespace
