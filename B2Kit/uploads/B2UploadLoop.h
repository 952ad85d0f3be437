#pragma once

#include "B2Kit/B2Log.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/pipeline/B2RetryReporter.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/uploads/UploadURLPool.h"

#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Inside B2Kit: sends a body to an upload URL, for a file in one piece and for a part of a large one.

struct B2ClientTools;

/// The step after a failed attempt to send a body.
struct B2UploadStep {
    enum class Kind {
        retry,   ///< Wait, then send again through another URL.
        giveUp,  ///< The attempts are spent, or another one would not help.
        stopped, ///< The task was asked to stop.
    };

    Kind kind = Kind::giveUp;
    double waitSeconds = 0;

    bool operator==(const B2UploadStep&) const = default;
};

/// Decides after a failed attempt. Reads no clock and does no I/O.
///
/// Ignores `Retry-After`: the next attempt goes to another storage pod.
///
/// @param attempt  number of the attempt that failed, from 1.
/// @param jitter   0 to 1.
B2UploadStep stepAfterUploadFailure(
    const B2RetryPolicy& policy, int attempt, const std::exception_ptr& failure, double jitter);

/// The words for a body in the log.
struct B2UploadTexts {
    std::string subject;                                   ///< "Upload of a.txt", "Part 3".
    std::string_view failed;                               ///< "failed", "gave up".
    B2LogLevel stopLevel = B2LogLevel::info;               ///< Of the line about a stop.
    std::string (*reason)(const std::exception_ptr&) = {}; ///< Why an attempt is repeated.
};

/// A body for the loop.
struct B2BodyUpload {
    B2UploadBody body;
    std::vector<B2HTTPHeader> headers; ///< All but `Authorization`.
    B2UploadTexts texts;
    B2RetryReporter* reporter = nullptr; ///< Reports the waits. Must outlive the upload.
    /// Gives each attempt its callback.
    std::function<B2Progress()> progress;
    /// If set: reads the answer of a success. What it throws fails the attempt.
    std::function<void(const std::string& answer)> accept;
    /// Looks at the source after a failed attempt, and throws what ends the upload if the source is the reason.
    ///
    /// @param hadTarget  false when the failure came before there was an upload URL.
    std::function<Task<>(std::exception_ptr failure, bool hadTarget)> examine;
    std::function<void()> onRetry; ///< Called when another attempt has been decided on, before the wait.
};

/// Sends a body until the service takes it; each attempt leases an upload URL of its own.
///
/// Runs on the caller's executor. Logs each retry and the end, unless that is a success.
///
/// @returns the number of retries.
/// @throws what the last attempt failed with.
template <class Target>
Task<int> sendBody(const B2ClientTools* tools, UploadURLPool<Target>* pool, B2BodyUpload* upload);
