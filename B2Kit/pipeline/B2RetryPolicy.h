#pragma once

#include "B2Kit/B2Error.h"

#include <exception>
#include <optional>
#include <string>

/// The number of attempts at a request and the waits between them.
struct B2RetryPolicy {
    int maxAttempts = 5;               ///< Sends of one JSON or download request, the first included.
    int maxDataAttempts = 20;          ///< Sends of one upload body or part, the first included.
    double baseDelaySeconds = 1.0;     ///< First backoff delay.
    double multiplier = 1.5;           ///< Growth of the backoff per further retry.
    double maxDelaySeconds = 64.0;     ///< Cap of the exponential term, before jitter.
    double maxRetryAfterSeconds = 300; ///< Cap on a delay the server asks for.

    bool operator==(const B2RetryPolicy&) const = default;
};

/// Returns the exponential term with jitter: min(base × multiplier^exponent, cap) + jitter clamped to 0..1.
///
/// @param exponent  0 for the first retry.
double backoffSeconds(const B2RetryPolicy& policy, int exponent, double jitter);

/// Reads the number in a `Retry-After` header, without a cap.
///
/// @returns nothing when the value is not wholly a decimal number (a date, for one).
std::optional<double> parseRetryAfter(const std::optional<std::string>& header);

/// Reads the seconds in a `Retry-After` header, clamped to 0..`maxRetryAfterSeconds`.
///
/// @returns nothing when the value is not wholly a decimal number.
std::optional<double> retryAfterSeconds(const B2RetryPolicy& policy, const std::optional<std::string>& header);

/// Formats a wait for a log line: "%.1fs" below 10 seconds, whole seconds above.
std::string formatWait(double seconds);

/// Is it worth sending the request again? Yes, except after a stop, a `B2Error` or a failure of a local file.
bool isRetryableConnectionFailure(const std::exception_ptr& failure);

/// Is it worth sending an upload or a part again, through another URL?
bool isRetryableTransferFailure(const std::exception_ptr& failure);

/// Was the task asked to stop?
bool isCancellation(const std::exception_ptr& failure);

/// Says in a few words why a transfer is retried, such as "B2 storage busy" or "B2 503 internal_error".
std::string shortReason(const std::exception_ptr& failure);

/// Returns the failure's own text.
std::string describe(const std::exception_ptr& failure);
