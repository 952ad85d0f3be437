#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/pipeline/B2RetryReporter.h"
#include "B2Kit/transport/B2Transport.h"

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Inside B2Kit: carries out one request, for answers in memory and for downloads to a file.

/// A request for the pipeline.
template <class Reply>
struct B2Call {
    std::string_view operation; ///< The name for logs and messages; a literal.
    bool (*accepts)(int status) = nullptr;
    /// Makes the request for a token; called again for every attempt.
    std::function<B2HTTPRequest(const B2Authorization&)> makeRequest;
    std::function<Task<Reply>(B2HTTPRequest)> send;
    /// If not null: becomes true when a request was sent whose answer was lost, so that it may have been carried out.
    /// Must outlive the call.
    bool* mayHaveBeenDone = nullptr;
    /// If not null: reports the waits and the success after them. Must outlive the call.
    B2RetryReporter* reporter = nullptr;
    /// If not null: selects the refusals that the caller handles, which are not errors in the log.
    bool (*expectsRefusal)(const B2APIError&) = nullptr;
};

/// Is it a status of a successful JSON call?
bool isSuccess(int status);
/// Is it a status of a successful download?
bool isContent(int status);

/// Reads the refusal in a failed answer. A record in the body takes precedence over the HTTP status.
B2APIError readAPIError(int httpStatus, std::string_view body);

/// @throws B2APIError as a B2Error unless the status is a success.
void requireSuccess(const B2HTTPResponse& response, std::string_view body);

/// The progress of a call through its attempts.
struct B2CallProgress {
    int failures = 0;        ///< Attempts that failed and were repeated after a wait.
    bool hasRenewed = false; ///< Has the token been renewed during this call?
};

/// The step after a refusal.
struct B2StatusStep {
    enum class Kind { renew, retry, giveUp };

    Kind kind = Kind::giveUp;
    double waitSeconds = 0;
    std::optional<double> askedSeconds; ///< The delay in the server's header, before the cap.

    bool operator==(const B2StatusStep&) const = default;
};

/// Decides after a refusal. Reads no clock and does no I/O.
///
/// @param retryAfter  the header's value.
/// @param jitter      0 to 1, used unless the server asks for a delay.
B2StatusStep stepAfterRefusal(const B2RetryPolicy& policy, const B2CallProgress& progress, const B2APIError& refusal,
    const std::optional<std::string>& retryAfter, double jitter);

/// The step after a failure without an answer.
struct B2FailureStep {
    enum class Kind {
        passOn,  ///< A B2Error, which needs no log line here.
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

/// Can the request have reached the service and been carried out although no answer arrived?
bool mayHaveReachedService(const std::exception_ptr& failure);

/// Is it a gateway's answer? That says nothing about what the service behind it did.
bool isFromGateway(const B2APIError& refusal);
