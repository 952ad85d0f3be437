#include "accounts/ConnectionFailure.h"

#include "B2Kit/B2Error.h"

#include <gmock/gmock.h>

using Kind = ConnectionFailure::Kind;

namespace {

ConnectionFailure failureFrom(int status, std::string code, std::string message)
{
    return connectionFailureFrom(
        std::make_exception_ptr(B2Error(B2APIError{status, std::move(code), std::move(message)})));
}

const std::string rejectedText = "Backblaze rejected this key. It has been deleted, or it reached the lifetime it was "
                                 "created with.";

} // namespace

TEST(ConnectionFailureTest, OnlyARefusalOfTheKeyItselfCountsAgainstTheKey)
{
    EXPECT_EQ(failureFrom(401, "unauthorized", ""), (ConnectionFailure{Kind::keyRejected, rejectedText}));
    EXPECT_EQ(
        failureFrom(401, "unsupported", "Use version 4"), (ConnectionFailure{Kind::keyRejected, "Use version 4"}));
    EXPECT_EQ(failureFrom(401, "bad_auth_token", "").kind, Kind::other);
    EXPECT_EQ(failureFrom(401, "expired_auth_token", "").kind, Kind::other);
    EXPECT_EQ(failureFrom(403, "access_denied", "no").kind, Kind::other);
}

TEST(ConnectionFailureTest, TroubleOnTheWayIsTemporary)
{
    EXPECT_EQ(failureFrom(503, "service_unavailable", "busy"),
        (ConnectionFailure{Kind::unreachable, "Backblaze returned 503. This is usually temporary."}));
    EXPECT_EQ(failureFrom(429, "too_many_requests", "").kind, Kind::unreachable);
    const auto network = connectionFailureFrom(std::make_exception_ptr(
        B2TransportError(B2TransportError::Code::cannotFindHost, "The server could not be found.")));
    EXPECT_EQ(network, (ConnectionFailure{Kind::unreachable, "The server could not be found."}));
}

TEST(ConnectionFailureTest, TheNoticeSaysWhatIsKeptAndWhatToDo)
{
    const auto temporary = noticeFor({Kind::unreachable, "No network."}, "Laptop", 2);
    EXPECT_EQ(temporary.title, "Cannot Reach Backblaze");
    EXPECT_EQ(temporary.text, "No network.\nYour keys are untouched. Kestrovan will reconnect with “Laptop”.");
    EXPECT_TRUE(temporary.offersTryAgain);

    const auto final = noticeFor({Kind::keyRejected, "Gone."}, "Laptop", 1);
    EXPECT_EQ(final.title, "This Key No Longer Works");
    EXPECT_EQ(final.text,
        "Gone.\nKestrovan is still holding 1 key. Choose another at the top of the sidebar, or remove “Laptop”.");
    EXPECT_FALSE(final.offersTryAgain);
}
