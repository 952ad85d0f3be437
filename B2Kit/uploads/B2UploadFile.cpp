#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/files/B2FileWorker.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/pipeline/B2RetryReporter.h"
#include "B2Kit/uploads/B2UploadLoop.h"
#include "B2Kit/uploads/UploadURLPool.h"
#include "B2Kit/wire/B2PercentEncoding.h"
#include "B2Kit/wire/B2Text.h"
#include "B2Kit/wire/B2URL.h"
#include "B2Kit/wire/JSONObject.h"

#include <atomic>
#include <fmt/format.h>

namespace {

constexpr std::int64_t largestSingleUpload = 5'000'000'000;
/// A body up to this size has been sent by the time a lost connection is noticed, so its progress is not watched.
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

/// Records whether the whole body of an attempt has been sent.
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

/// Is there no answer of the service that says what became of the file? A gateway's answer in its place says nothing.
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

/// Keeps the outcome of the attempts to upload a file in one piece.
class SingleUpload {
public:
    SingleUpload(const B2HashedBody& body, B2UploadFileRequest& request)
        : body_(body)
        , watch_(body.length, std::move(request.onProgress))
        , onAnswerLost_(std::move(request.onAnswerLost))
    {
    }

    B2Progress progress() { return watch_.progress(); }

    /// @throws B2FileError when the file has changed.
    Task<> examine(std::exception_ptr failure, bool hadTarget)
    {
        wasAnswerLost_ = hadTarget && watch_.isWholeBodyOut() && isAnswerLost(failure);
        if (wasAnswerLost_ && onAnswerLost_)
            onAnswerLost_();
        if (!body_.stamp)
            co_return;
        // The digest is of the file as it was: sent again, the file would be refused again.
        B2FileWorker worker;
        if (co_await worker.hasChanged(body_))
            throw changedFileError(body_.file()->path);
    }

    bool wasAnswerLost() const { return wasAnswerLost_; }

private:
    const B2HashedBody& body_;
    BodyWatch watch_;
    std::function<void()> onAnswerLost_;
    bool wasAnswerLost_ = false; ///< Of the last attempt.
};

} // namespace

Task<B2FileVersion> B2Client::uploadFile(B2UploadFileRequest request)
{
    if (const auto bytes = lengthOf(request.body); bytes > largestSingleUpload)
        throw B2Error(B2Error::FileTooLargeForSingleUpload{bytes});
    const auto body = co_await hash(std::move(request.body));
    if (request.modificationDate)
        setLastModified(request.fileInfo, *request.modificationDate);
    const auto name = oneLine(request.fileName);
    SingleUpload single(body, request);
    B2RetryReporter reporter(std::move(request.onRetry));
    B2FileVersion version;

    B2BodyUpload upload{.body = body.body,
        .headers = uploadHeaders(request, body.sha1),
        .texts = {.subject = "Upload of " + name, .failed = "failed", .reason = shortReason},
        .reporter = &reporter};
    upload.progress = [&single] { return single.progress(); };
    upload.accept = [&version](
                        const std::string& answer) { version = decodeAnswer<B2FileVersion>("b2_upload_file", answer); };
    upload.examine = [&single](std::exception_ptr failure, bool hadTarget) {
        return single.examine(std::move(failure), hadTarget);
    };
    upload.onRetry = [this, &single, &name] {
        if (single.wasAnswerLost())
            tools_->log->notice("transfer",
                fmt::format(
                    "All of {} was sent but the answer was lost, so the retry may leave a second version", name));
    };
    const auto pool = uploadPool(request.bucketID);
    co_await sendBody(tools_.get(), pool.get(), &upload);
    reporter.recovered();
    co_return version;
}

std::shared_ptr<B2Client::UploadPool> B2Client::uploadPool(const std::string& bucketID)
{
    auto& pool = uploadPools_[bucketID];
    if (!pool) {
        // On the client's own executor, so that a lease does not change threads.
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
