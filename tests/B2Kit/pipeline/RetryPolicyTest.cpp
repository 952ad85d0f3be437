#include "B2Kit/pipeline/B2RetryPolicy.h"

#include "B2Kit/wire/B2PercentEncoding.h"
#include "async/Cancelled.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

std::exception_ptr refusal(int status, const char* code, const char* message)
{
    return std::make_exception_ptr(B2Error(B2APIError{status, code, message}));
}

TEST(RetryPolicy, BackoffGrowsToItsCapAndJitterStaysWithinASecond)
{
    const B2RetryPolicy policy;

    EXPECT_DOUBLE_EQ(backoffSeconds(policy, 0, 0), 1.0);
    EXPECT_DOUBLE_EQ(backoffSeconds(policy, 3, 0.25), 3.625);
    EXPECT_DOUBLE_EQ(backoffSeconds(policy, 19, 5), 65.0);
    EXPECT_DOUBLE_EQ(backoffSeconds(policy, -1, -5), 1.0);
    EXPECT_DOUBLE_EQ(backoffSeconds(policy, 0, std::nan("")), 1.0);
}

TEST(RetryPolicy, WaitsShowAFractionBelowTenSeconds)
{
    EXPECT_EQ(formatWait(0), "0.0s");
    EXPECT_EQ(formatWait(9.94), "9.9s");
    EXPECT_EQ(formatWait(10), "10s");
    EXPECT_EQ(formatWait(299.5), "300s");
}

TEST(RetryPolicy, TransfersAreRetriedWhereAnotherTargetCanHelp)
{
    EXPECT_TRUE(isRetryableTransferFailure(refusal(503, "service_unavailable", "")));
    EXPECT_TRUE(isRetryableTransferFailure(refusal(408, "request_timeout", "")));
    EXPECT_TRUE(isRetryableTransferFailure(refusal(401, "expired_auth_token", "")));
    EXPECT_FALSE(isRetryableTransferFailure(refusal(401, "unauthorized", "")));
    EXPECT_FALSE(isRetryableTransferFailure(refusal(403, "cap_exceeded", "")));
    EXPECT_FALSE(isRetryableTransferFailure(std::make_exception_ptr(B2Error(B2Error::InvalidResponse{"x"}))));
    EXPECT_FALSE(isRetryableTransferFailure(std::make_exception_ptr(Cancelled())));
    EXPECT_TRUE(isRetryableTransferFailure(std::make_exception_ptr(std::runtime_error("x"))));
}

TEST(RetryPolicy, AReasonIsShort)
{
    EXPECT_EQ(shortReason(refusal(503, "service_unavailable", "no tomes available")), "B2 storage busy");
    EXPECT_EQ(shortReason(refusal(503, "service_unavailable", "Tome is overly busy")), "B2 storage busy");
    EXPECT_EQ(shortReason(refusal(503, "service_unavailable", "c001 is too busy")), "B2 503 service_unavailable");
    EXPECT_EQ(shortReason(refusal(500, "internal_error", "tome")), "B2 500 internal_error");
    EXPECT_EQ(shortReason(std::make_exception_ptr(B2Error(B2Error::ClientUnavailable()))),
        "The B2 client was deallocated before the operation completed.");
    EXPECT_EQ(shortReason(std::make_exception_ptr(std::runtime_error("lost"))), "lost");
}

TEST(PercentEncoding, KeepsTheSlashesOfNamesOnly)
{
    EXPECT_EQ(percentEncodedName("a b/ü+%~.txt"), "a%20b/%C3%BC%2B%25~.txt");
    EXPECT_EQ(percentEncoded("a b/ü"), "a%20b%2F%C3%BC");
}

TEST(PercentEncoding, DecodesIntactTextsAndRefusesDamagedOnes)
{
    EXPECT_EQ(percentDecoded("a%20b+c%2B%c3%bc"), "a b c+ü");
    EXPECT_EQ(percentDecoded(""), "");
    for (const auto* damaged : {"%", "%4", "%zz", "a%2", "%ff"})
        EXPECT_EQ(percentDecoded(damaged), std::nullopt) << damaged;
}

} // namespace
