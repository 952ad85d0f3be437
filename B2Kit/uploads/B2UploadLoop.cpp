#include "B2Kit/uploads/B2UploadLoop.h"

#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/uploads/B2Upload.h"

#include <fmt/format.h>
#include <optional>

namespace {

void logEnd(const B2ClientTools& tools, const B2UploadTexts& texts, int attempts, const std::exception_ptr& failure)
{
    if (isCancellation(failure))
        tools.log->log({texts.stopLevel, "transfer", texts.subject + " stopped", std::nullopt});
    else
        tools.log->error("transfer", fmt::format("{} {} after {} attempts", texts.subject, texts.failed, attempts),
            describe(failure));
}

void logRetry(const B2ClientTools& tools, const B2UploadTexts& texts, int retry, double waitSeconds,
    const std::exception_ptr& failure)
{
    tools.log->warning("transfer",
        fmt::format("{} refused, retry {}/{} in {}", texts.subject, retry, tools.retryPolicy.maxDataAttempts - 1,
            formatWait(waitSeconds)),
        texts.reason(failure));
}

} // namespace

B2UploadStep stepAfterUploadFailure(
    const B2RetryPolicy& policy, int attempt, const std::exception_ptr& failure, double jitter)
{
    if (isCancellation(failure))
        return {.kind = B2UploadStep::Kind::stopped};
    if (attempt >= policy.maxDataAttempts || !isRetryableTransferFailure(failure))
        return {.kind = B2UploadStep::Kind::giveUp};
    return {.kind = B2UploadStep::Kind::retry, .waitSeconds = backoffSeconds(policy, attempt - 1, jitter)};
}

template <class Target>
Task<int> sendBody(const B2ClientTools* tools, UploadURLPool<Target>* pool, B2BodyUpload* upload)
{
    const auto& policy = tools->retryPolicy;
    for (int attempt = 1;; ++attempt) {
        std::optional<typename UploadURLPool<Target>::Lease> lease;
        std::exception_ptr failure;
        try {
            lease = co_await pool->acquire();
            B2HTTPRequest request;
            request.url = lease->target.uploadURL;
            request.headers = upload->headers;
            request.headers.push_back({"Authorization", lease->target.authorizationToken});
            const auto reply = co_await tools->transport->upload(std::move(request), upload->body, upload->progress());
            requireSuccess(reply.response, reply.body);
            if (upload->accept)
                upload->accept(reply.body);
            co_await pool->release(std::move(*lease));
            co_return attempt - 1;
        } catch (...) {
            failure = std::current_exception();
        }

        if (lease)
            co_await pool->discard(lease->target);
        if (!isCancellation(failure)) {
            try {
                co_await upload->examine(failure, lease.has_value());
            } catch (...) {
                failure = std::current_exception();
            }
        }
        const auto step = stepAfterUploadFailure(policy, attempt, failure, tools->jitter());
        if (step.kind != B2UploadStep::Kind::retry) {
            logEnd(*tools, upload->texts, attempt, failure);
            std::rethrow_exception(failure);
        }
        logRetry(*tools, upload->texts, attempt, step.waitSeconds, failure);
        upload->onRetry();
        upload->reporter->backingOff(attempt, policy.maxDataAttempts, step.waitSeconds, shortReason(failure));
        try {
            co_await tools->sleeper->sleep(step.waitSeconds);
        } catch (...) {
            logEnd(*tools, upload->texts, attempt, std::current_exception());
            throw;
        }
    }
}

template Task<int> sendBody(const B2ClientTools*, UploadURLPool<B2UploadTarget>*, B2BodyUpload*);
template Task<int> sendBody(const B2ClientTools*, UploadURLPool<B2UploadPartTarget>*, B2BodyUpload*);
