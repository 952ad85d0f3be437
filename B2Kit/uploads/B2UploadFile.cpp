#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/files/B2FileWorker.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/pipeline/B2RetryTeller.h"
#include "B2Kit/uploads/UploadURLPool.h"
#include "B2Kit/wire/B2PercentEncoding.h"
#include "B2Kit/wire/B2Text.h"
#include "B2Kit/wire/B2URL.h"
#include "B2Kit/wire/JSONObject.h"

#include <atomic>
#include <fmt/format.h>

namespace {

constexpr std::int64_t largestSingleUpload = 5'000'000'000;
/// An hour under the service's day.
/// A body up to this size is gone by the time a lost connection is noticed, so progress need not be watched.
constexpr std::int64_t largestUnwatched = 1'000'000;

std::int64_t lengthOf(const B2UploadBody& body)
{
    if (const auto* const range = std::get_if<B2FileRange>(&body))
        return range->length;
    return static_cast<std::int64_t>(std::get<std::shared_ptr<const std::string>>(body)->size());
}

Task<B2HashedBody> hash(B2UploadBody body)
{
    if (const auto* const memory = std::get_if<std::shared_ptr<const std::string>>(&body))
        co_return B2HashedBody{.body = *memory, .length = lengthOf(body), .sha1 = co_await sha1Aside(**memory)};
    B2FileWorker worker;
    co_return co_await worker.hash(std::get<B2FileRange>(std::move(body)));
}

std::vector<B2HTTPHeader> uploadHeaders(const B2UploadFileRequest& request, const std::string& sha1)
{
    std::vector<B2HTTPHeader> headers{{"X-Bz-File-Name", percentEncodedName(request.fileName)},
        {"Content-Type", request.contentType}, {"X-Bz-Content-Sha1", sha1}};
    for (const auto& [key, value] : request.fileInfo)
        headers.push_back({"X-Bz-Info-" + key, percentEncoded(value)});
    return headers;
}

/// Knows whether the whole body of an attempt has gone out.
class BodyWatch {
public:
    BodyWatch(std::int64_t length, B2Progress onProgress)
        : isWatched_(length > largestUnwatched)
        , onProgress_(std::move(onProgress))
    {
    }

    B2Progress progress()
    {
        isOut_->store(!isWatched_);
        if (!isWatched_)
            return onProgress_;
        return [isOut = isOut_, onProgress = onProgress_](std::int64_t done, std::int64_t total) {
            if (done >= total)
                isOut->store(true);
            if (onProgress)
                onProgress(done, total);
        };
    }

    bool isWholeBodyOut() const { return isOut_->load(); }

private:
    bool isWatched_;
    B2Progress onProgress_;
    std::shared_ptr<std::atomic<bool>> isOut_ = std::make_shared<std::atomic<bool>>(false);
};

/// Is there no answer of the service that says what became of the file? What a gateway says in its place does not.
bool isAnswerLost(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        return error.api() ? isFromGateway(*error.api())
                           : std::holds_alternative<B2Error::InvalidResponse>(error.which());
    } catch (...) {
        return mayHaveReachedService(failure);
    }
}

/// Says how the upload ended and throws why.
[[noreturn]] void endUpload(B2LogSink& log, const std::string& name, int attempts, const std::exception_ptr& failure)
{
    if (isCancellation(failure))
        log.info("transfer", fmt::format("Upload of {} stopped", name));
    else
        log.error("transfer", fmt::format("Upload of {} failed after {} attempts", name, attempts), describe(failure));
    std::rethrow_exception(failure);
}

} // namespace

Task<B2FileVersion> B2Client::uploadFile(B2UploadFileRequest request)
{
    if (const auto bytes = lengthOf(request.body); bytes > largestSingleUpload)
        throw B2Error(B2Error::FileTooLargeForSingleUpload{bytes});
    const auto body = co_await hash(std::move(request.body));
    if (request.modificationDate)
        setLastModified(request.fileInfo, *request.modificationDate);
    const auto headers = uploadHeaders(request, body.sha1);
    const auto pool = uploadPool(request.bucketID);
    const auto& policy = options_.retryPolicy;
    auto& log = *options_.log;
    const auto name = oneLine(request.fileName);
    BodyWatch watch(body.length, std::move(request.onProgress));
    B2RetryTeller teller(std::move(request.onRetry));

    for (int attempt = 0;; ++attempt) {
        std::optional<UploadPool::Lease> lease;
        std::exception_ptr failure;
        try {
            lease = co_await pool->acquire();
            B2HTTPRequest sent;
            sent.url = lease->target.uploadURL;
            sent.headers = headers;
            sent.headers.push_back({"Authorization", lease->target.authorizationToken});
            const auto reply = co_await options_.transport->upload(std::move(sent), body.body, watch.progress());
            requireSuccess(reply.response, reply.body);
            auto version = decodeAnswer<B2FileVersion>("b2_upload_file", reply.body);
            co_await pool->release(std::move(*lease));
            teller.goesOn();
            co_return version;
        } catch (...) {
            failure = std::current_exception();
        }

        if (lease)
            co_await pool->discard(lease->target);
        const bool wasAnswerLost = lease && watch.isWholeBodyOut() && isAnswerLost(failure);
        if (wasAnswerLost && request.onAnswerLost)
            request.onAnswerLost();
        // The digest is of the file as it was: to send it again would be refused again.
        if (body.stamp && !isCancellation(failure)) {
            B2FileWorker worker;
            if (co_await worker.hasChanged(body))
                failure = std::make_exception_ptr(changedFileError(body.file()->path));
        }
        const int next = attempt + 1;
        if (next >= policy.maxDataAttempts || !isRetryableTransferFailure(failure))
            endUpload(log, name, next, failure);
        const double wait = backoffSeconds(policy, attempt, options_.jitter());
        log.warning("transfer",
            fmt::format(
                "Upload of {} refused, retry {}/{} in {}", name, next, policy.maxDataAttempts - 1, formatWait(wait)),
            shortReason(failure));
        if (wasAnswerLost)
            log.notice("transfer",
                fmt::format(
                    "All of {} was sent but the answer was lost, so the retry may leave a second version", name));
        teller.backsOff(next, policy.maxDataAttempts, wait, shortReason(failure));
        try {
            co_await options_.sleeper->sleep(wait);
        } catch (...) {
            endUpload(log, name, next, std::current_exception());
        }
    }
}

std::shared_ptr<B2Client::UploadPool> B2Client::uploadPool(const std::string& bucketID)
{
    auto& pool = uploadPools_[bucketID];
    if (!pool) {
        // On the client's own executor, so that to lease costs no change of threads.
        pool = std::make_shared<UploadPool>(
            executor_, [holder = weak_from_this(), bucketID] { return fetchUploadTarget(holder, bucketID); },
            longestTargetAge);
    }
    return pool;
}

Task<B2UploadTarget> B2Client::fetchUploadTarget(std::weak_ptr<B2Client> holder, std::string bucketID)
{
    const auto client = holder.lock();
    if (!client)
        throw B2Error(B2Error::ClientUnavailable{});
    co_return co_await client->uploadTarget(std::move(bucketID));
}

Task<B2UploadTarget> B2Client::uploadTarget(std::string bucketID)
{
    JSONObject body;
    body.set("bucketId", bucketID);
    auto target = co_await callJSON<B2UploadTarget>({.operation = "b2_get_upload_url", .body = std::move(body).text()});
    requireTrustedURL(target.uploadURL);
    co_return target;
}
