#include "B2Kit/pipeline/B2Pipeline.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/wire/B2Decoding.h"
#include "B2Kit/wire/B2Text.h"

#include <chrono>
#include <fmt/format.h>

namespace {

using Clock = std::chrono::steady_clock;

/// A proxy's page can have any size; a sentence cannot.
constexpr std::size_t longestMessage = 2000;
constexpr std::size_t longestCode = 100;

std::string_view errorBodyOf(const B2DataReply& reply)
{
    return reply.body;
}

std::string_view errorBodyOf(const B2DownloadReply& reply)
{
    return reply.errorBody;
}

bool isB2Error(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error&) {
        return true;
    } catch (...) {
        return false;
    }
}

std::string formatElapsed(Clock::time_point started)
{
    return fmt::format("{}ms", std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started).count());
}

} // namespace

bool isSuccess(int status)
{
    return status >= 200 && status <= 299;
}

bool isContent(int status)
{
    return status == 200 || status == 206;
}

B2APIError readAPIError(int httpStatus, std::string_view body)
{
    try {
        auto refusal = decodeRecord<B2APIError>(body);
        refusal.code = clipped(std::move(refusal.code), longestCode);
        refusal.message = clipped(std::move(refusal.message), longestMessage);
        return refusal;
    } catch (const B2DecodingError&) {
        const auto isText = isUTF8(body);
        return {.status = httpStatus,
            .code = "unknown",
            .message = isText ? clipped(std::string(body), longestMessage) : "<non-UTF8 body>"};
    }
}

void requireSuccess(const B2HTTPResponse& response, std::string_view body)
{
    if (!isSuccess(response.status))
        throw B2Error(readAPIError(response.status, body));
}

B2StatusStep stepAfterRefusal(const B2RetryPolicy& policy, const B2CallProgress& progress, const B2APIError& refusal,
    const std::optional<std::string>& retryAfter, double jitter)
{
    if (refusal.isExpiredAuthorization() && !progress.hasRenewed)
        return {.kind = B2StatusStep::Kind::renew};
    const int next = progress.failures + 1;
    if (!refusal.isRetryable() || next >= policy.maxAttempts)
        return {.kind = B2StatusStep::Kind::giveUp};
    if (const auto wait = retryAfterSeconds(policy, retryAfter))
        return {.kind = B2StatusStep::Kind::retry, .waitSeconds = *wait, .askedSeconds = parseRetryAfter(retryAfter)};
    return {.kind = B2StatusStep::Kind::retry, .waitSeconds = backoffSeconds(policy, progress.failures, jitter)};
}

B2FailureStep stepAfterFailure(
    const B2RetryPolicy& policy, const B2CallProgress& progress, const std::exception_ptr& failure, double jitter)
{
    if (isCancellation(failure))
        return {.kind = B2FailureStep::Kind::stopped};
    if (isB2Error(failure))
        return {.kind = B2FailureStep::Kind::passOn};
    if (!isRetryableConnectionFailure(failure))
        return {.kind = B2FailureStep::Kind::fail};
    if (progress.failures + 1 >= policy.maxAttempts)
        return {.kind = B2FailureStep::Kind::giveUp};
    return {.kind = B2FailureStep::Kind::retry, .waitSeconds = backoffSeconds(policy, progress.failures, jitter)};
}

bool mayHaveReachedService(const std::exception_ptr& failure)
{
    using Code = B2TransportError::Code;
    try {
        std::rethrow_exception(failure);
    } catch (const B2TransportError& error) {
        return error.code() == Code::timedOut || error.code() == Code::connectionLost || error.code() == Code::other;
    } catch (...) {
        return false;
    }
}

bool isFromGateway(const B2APIError& refusal)
{
    return refusal.status == 502 || refusal.status == 504;
}

template <class Reply>
Task<Reply> B2Client::perform(B2Call<Reply> call)
{
    const auto& policy = tools_->retryPolicy;
    auto& log = *tools_->log;
    B2CallProgress progress;
    for (;;) {
        const auto started = Clock::now();
        std::shared_ptr<const B2Authorization> authorization;
        std::exception_ptr failure;
        std::optional<Reply> reply;
        try {
            authorization = co_await currentAuthorization();
            reply.emplace(co_await call.send(call.makeRequest(*authorization)));
        } catch (...) {
            failure = std::current_exception();
        }

        double waitSeconds = 0;
        if (failure) {
            if (call.mayHaveBeenDone && authorization && mayHaveReachedService(failure))
                *call.mayHaveBeenDone = true;
            const auto step = stepAfterFailure(policy, progress, failure, tools_->jitter());
            logFailure(call.operation, progress, failure, step);
            if (step.kind != B2FailureStep::Kind::retry)
                std::rethrow_exception(failure);
            waitSeconds = step.waitSeconds;
        } else {
            const int status = reply->response.status;
            if (call.accepts(status)) {
                log.debug("api", fmt::format("{} → {} in {}", call.operation, status, formatElapsed(started)));
                if (call.reporter)
                    call.reporter->recovered();
                co_return std::move(*reply);
            }
            const auto refusal = readAPIError(status, errorBodyOf(*reply));
            const auto retryAfter = reply->response.header("Retry-After");
            // A downloaded file is removed before the wait, not after it.
            reply.reset();
            if (call.mayHaveBeenDone && isFromGateway(refusal))
                *call.mayHaveBeenDone = true;
            const auto step = stepAfterRefusal(policy, progress, refusal, retryAfter, tools_->jitter());
            if (step.kind == B2StatusStep::Kind::renew) {
                forget(*authorization);
                progress.hasRenewed = true;
                continue;
            }
            if (step.kind == B2StatusStep::Kind::giveUp) {
                const bool isExpected = call.expectsRefusal && call.expectsRefusal(refusal);
                log.log({.level = isExpected ? B2LogLevel::debug : B2LogLevel::error,
                    .category = "api",
                    .message = fmt::format("{} failed: {} {}", call.operation, refusal.status, oneLine(refusal.code)),
                    .detail = refusal.message});
                throw B2Error(refusal);
            }
            logRetry(call.operation, progress, refusal, step);
            waitSeconds = step.waitSeconds;
            failure = std::make_exception_ptr(B2Error(refusal));
        }
        if (call.reporter)
            call.reporter->backingOff(progress.failures + 1, policy.maxAttempts, waitSeconds, shortReason(failure));
        co_await tools_->sleeper->sleep(waitSeconds);
        ++progress.failures;
    }
}

template Task<B2DataReply> B2Client::perform(B2Call<B2DataReply>);
template Task<B2DownloadReply> B2Client::perform(B2Call<B2DownloadReply>);

void B2Client::logRetry(std::string_view operation, const B2CallProgress& progress, const B2APIError& refusal,
    const B2StatusStep& step) const
{
    auto detail = refusal.message;
    if (step.askedSeconds)
        detail += fmt::format(" (server asked for {})", formatWait(*step.askedSeconds));
    tools_->log->warning("api",
        fmt::format("{} → {} {}, retry {}/{} in {}", operation, refusal.status, oneLine(refusal.code),
            progress.failures + 1, tools_->retryPolicy.maxAttempts - 1, formatWait(step.waitSeconds)),
        std::move(detail));
}

void B2Client::logFailure(std::string_view operation, const B2CallProgress& progress, const std::exception_ptr& failure,
    const B2FailureStep& step) const
{
    auto& log = *tools_->log;
    const int next = progress.failures + 1;
    switch (step.kind) {
    case B2FailureStep::Kind::passOn:
        return;
    case B2FailureStep::Kind::retry:
        log.warning("api",
            fmt::format("{} connection failed, retry {}/{} in {}", operation, next, tools_->retryPolicy.maxAttempts - 1,
                formatWait(step.waitSeconds)),
            describe(failure));
        return;
    case B2FailureStep::Kind::giveUp:
        log.error("api", fmt::format("{} gave up after {} attempts", operation, next), describe(failure));
        return;
    case B2FailureStep::Kind::stopped:
        log.debug("api", fmt::format("{} stopped", operation));
        return;
    case B2FailureStep::Kind::fail:
        log.error("api", fmt::format("{} failed", operation), describe(failure));
        return;
    }
}
