#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/pipeline/B2RetryTeller.h"
#include "B2Kit/transport/B2Transport.h"

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Inside B2Kit: how one request is carried out, for answers in memory and for downloads to a file.

/// A request for the pipeline.
template <class Reply>
struct B2Call {
    std::string_view operation; ///< The name for logs and messages; a literal.
    bool (*accepts)(int status) = nullptr;
    /// Makes the request for a token; asked anew for every attempt.
    std::function<B2HTTPRequest(const B2Authorization&)> makeRequest;
    std::function<Task<Reply>(B2HTTPRequest)> send;
    /// If not null: becomes true when a request was sent whose answer was lost, so that it may have been carried out.
    /// Must outlive the call.
    bool* mayHaveBeenDone = nullptr;
    /// If not null: told of the waits and of the success after them. Must outlive the call.
    B2RetryTeller* teller = nullptr;
    /// If not null: the refusals that the caller has an answer to, which are no errors in the log.
    bool (*expectsRefusal)(const B2APIError&) = nullptr;
};

/// Statuses of a JSON answer.
bool isSuccess(int status);
/// Statuses of a download.
bool isContent(int status);

/// The refusal that a failed answer tells. A record in the body counts more than the HTTP status.
B2APIError readAPIError(int httpStatus, std::string_view body);

/// @throws B2APIError as a B2Error when the status is not one of success.
void requireSuccess(const B2HTTPResponse& response, std::string_view body);

/// How far a call has come.
struct B2CallProgress {
    int failures = 0;        ///< That were answered by waiting and sending again.
    bool hasRenewed = false; ///< Has the token been renewed during this call?
};

/// What follows a refusal.
struct B2StatusStep {
    enum class Kind { renew, retry, giveUp };

    Kind kind = Kind::giveUp;
    double waitSeconds = 0;
    std::optional<double> askedSeconds; ///< What the server asked for, as it stands in the header.

    bool operator==(const B2StatusStep&) const = default;
};

/// Decides after a refusal. Reads no clock and does no I/O.
///
/// @param retryAfter  the header's value.
/// @param jitter      0 to 1, used unless the server asks for a delay.
B2StatusStep stepAfterRefusal(const B2RetryPolicy& policy, const B2CallProgress& progress, const B2APIError& refusal,
    const std::optional<std::string>& retryAfter, double jitter);

/// What follows when there was no answer.
struct B2FailureStep {
    enum class Kind {
        passOn,  ///< A B2Error: somebody has spoken already.
        retry,   ///< Wait and send again.
        giveUp,  ///< The attempts are spent.
        stopped, ///< The task was asked to stop.
        fail,    ///< Sending again would not help.
    };

    Kind kind = Kind::passOn;
    double waitSeconds = 0;

    bool operator==(const B2FailureStep&) const = default;
};

/// Decides after a failure without an answer. Reads no clock and does no I/O.
B2FailureStep stepAfterFailure(
    const B2RetryPolicy& policy, const B2CallProgress& progress, const std::exception_ptr& failure, double jitter);

/// Can the request have reached the service, so that what it asks for may be done although the answer never came?
bool mayHaveReachedService(const std::exception_ptr& failure);

/// A gateway's answer: it tells nothing about what the service behind it did.
bool isFromGateway(const B2APIError& refusal);
