#include "B2Kit/uploads/B2LargeUpload.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/pipeline/B2RetryTeller.h"
#include "B2Kit/uploads/B2PartSource.h"
#include "B2Kit/uploads/ByteTally.h"
#include "B2Kit/uploads/UploadURLPool.h"
#include "B2Kit/wire/B2ByteCount.h"
#include "B2Kit/wire/B2Text.h"
#include "async/Group.h"

#include <algorithm>
#include <fmt/format.h>

namespace {

using PartPool = UploadURLPool<B2UploadPartTarget>;

/// One upload in parts. Its coroutines run on the client's executor.
class LargeUpload final : public Actor {
public:
    LargeUpload(std::shared_ptr<B2Client> client, B2UploadLargeFileRequest request)
        : Actor(*client->home())
        , client_(std::move(client))
        , tools_(client_->tools())
        , request_(std::move(request))
    {
    }

    Task<B2FileVersion> run();

private:
    Task<> openSource();
    Task<> start();
    /// Finds the parts that need not be sent again.
    /// @returns the version when the upload to resume had been finished.
    Task<std::optional<B2FileVersion>> trustStoredParts();
    Task<std::vector<B2Part>> storedParts();
    Task<std::optional<B2FileVersion>> finishedBefore(std::exception_ptr refusal);
    /// @throws B2Error when the source differs from what is stored.
    Task<> verifyStoredParts();
    Task<> sendParts();
    Task<> sendPart(int number);
    Task<B2FileVersion> finish();

    std::string name() const { return oneLine(request_.fileName); }
    void reportStart();
    void reportPartsDone() const;

    const std::shared_ptr<B2Client> client_;
    const B2ClientTools& tools_;
    B2UploadLargeFileRequest request_;
    B2PartSource source_;
    std::string fileID_;
    std::map<int, std::string> digests_; ///< Of the parts that are on B2, by number.
    std::vector<int> pending_;           ///< The other numbers, ascending.
    std::shared_ptr<PartPool> pool_;
    std::shared_ptr<ByteTally> tally_;
};

/// Is it what this upload would have become? Without two digests to compare, a source that may have changed is not.
bool isOf(const B2PartSource& source, const B2FileVersion& version, bool mayHaveChanged)
{
    if (version.contentLength != source.length())
        return false;
    const auto digest = version.largeFileSHA1();
    return source.sha1().empty() || !digest ? !mayHaveChanged : *digest == source.sha1();
}

std::vector<B2HTTPHeader> partHeaders(const B2UploadPartTarget& target, int number, const std::string& sha1)
{
    return {{"Authorization", target.authorizationToken}, {"X-Bz-Part-Number", std::to_string(number)},
        {"X-Bz-Content-Sha1", sha1}};
}

/// Says how the part ended and throws why.
[[noreturn]] void endPart(B2LogSink& log, int number, int attempts, const std::exception_ptr& failure)
{
    if (isCancellation(failure))
        log.debug("transfer", fmt::format("Part {} stopped", number));
    else
        log.error("transfer", fmt::format("Part {} gave up after {} attempts", number, attempts), describe(failure));
    std::rethrow_exception(failure);
}

Task<B2FileVersion> LargeUpload::run()
{
    co_await openSource();
    if (request_.resumeFileID) {
        fileID_ = *request_.resumeFileID;
        if (auto finished = co_await trustStoredParts())
            co_return std::move(*finished);
    } else {
        co_await start();
    }
    co_await sendParts();
    co_return co_await finish();
}

Task<> LargeUpload::openSource()
{
    const auto size = co_await B2PartSource::sizeOf(&request_);
    // Before anything is asked of the service.
    if (size < B2LargeFileLimits::smallestFile)
        throw B2Error(B2Error::FileTooSmallForLargeUpload{size});
    const auto storage = (co_await client_->authorized()).storage;
    auto plan = planParts(size, request_.partSize, storage.recommendedPartSize, storage.absoluteMinimumPartSize);
    co_await source_.open(&request_, std::move(plan));
    if (!source_.sha1().empty())
        request_.fileInfo["large_file_sha1"] = source_.sha1();
    if (request_.modificationDate)
        setLastModified(request_.fileInfo, *request_.modificationDate);
}

Task<> LargeUpload::start()
{
    B2StartLargeFileRequest request{.bucketID = request_.bucketID,
        .fileName = request_.fileName,
        .contentType = request_.contentType,
        .fileInfo = request_.fileInfo};
    auto version = co_await client_->startLargeFile(std::move(request));
    if (!version.fileID)
        throw B2Error(B2Error::InvalidResponse{"b2_start_large_file returned no fileId"});
    fileID_ = *version.fileID;
    if (request_.onStarted)
        request_.onStarted(fileID_, source_.sha1());
}

Task<std::optional<B2FileVersion>> LargeUpload::trustStoredParts()
{
    std::exception_ptr refusal;
    try {
        digests_ = trustedParts(source_.plan(), co_await storedParts());
    } catch (const B2Error& error) {
        if (!isRefusal(error, "bad_request"))
            throw;
        refusal = std::current_exception();
    }
    if (refusal)
        co_return co_await finishedBefore(refusal);
    co_await verifyStoredParts();
    co_return std::nullopt;
}

Task<std::vector<B2Part>> LargeUpload::storedParts()
{
    std::vector<B2Part> stored;
    std::optional<int> start;
    for (;;) {
        auto page = co_await client_->listParts(fileID_, start);
        std::ranges::move(page.parts, std::back_inserter(stored));
        // What a cursor that does not advance keeps back is sent again, which is safe.
        const auto next = page.nextPartNumber;
        if (!next || *next <= start.value_or(1) || *next > B2LargeFileLimits::mostParts)
            co_return stored;
        start = next;
    }
}

Task<std::optional<B2FileVersion>> LargeUpload::finishedBefore(std::exception_ptr refusal)
{
    // No unfinished file has this id; the one that was stopped may have been finished all the same.
    auto finished = co_await client_->finishedLargeFile(fileID_);
    if (!finished || finished->fileName != request_.fileName)
        std::rethrow_exception(refusal);
    if (!isOf(source_, *finished, request_.verifiesEveryPart))
        throw B2Error(B2Error::SourceChangedSinceUpload{1});
    tools_.log->notice("transfer", name() + " had been finished already");
    co_return finished;
}

Task<> LargeUpload::verifyStoredParts()
{
    const auto& started = request_.startedSHA1;
    const bool hasOtherDigest = started && !source_.sha1().empty() && *started != source_.sha1();
    for (const auto& [number, digest] : digests_) {
        const auto part = co_await source_.part(number);
        if (part.sha1 != digest)
            throw B2Error(B2Error::SourceChangedSinceUpload{number});
        if (!request_.verifiesEveryPart && !hasOtherDigest)
            break;
    }
    if (hasOtherDigest) {
        int number = 1;
        while (digests_.contains(number))
            ++number;
        throw B2Error(B2Error::SourceChangedSinceUpload{number});
    }
}

Task<> LargeUpload::sendParts()
{
    reportStart();
    pool_ = std::make_shared<PartPool>(
        std::shared_ptr<Executor>(client_, client_->home()),
        [client = client_, fileID = fileID_] { return client->uploadPartURL(fileID); }, longestTargetAge);
    const auto width = static_cast<std::size_t>(std::max(request_.concurrency, 1));
    co_await forEachBounded(pending_.size(), width, [this](std::size_t index) { return sendPart(pending_[index]); });
}

void LargeUpload::reportStart()
{
    std::int64_t baseline = 0;
    for (int number = 1; number <= source_.partCount(); ++number) {
        if (digests_.contains(number))
            baseline += source_.stretch(number).length();
        else
            pending_.push_back(number);
    }
    const auto done = digests_.size();
    if (request_.onResumeState)
        request_.onResumeState(static_cast<int>(done), source_.partCount());
    tally_ = std::make_shared<ByteTally>(baseline, source_.length(), request_.onProgress);
    if (done > 0)
        tools_.log->notice("transfer",
            fmt::format("{}: {} of {} parts already on B2", name(), done, source_.partCount()),
            fmt::format("{} of {} bytes will not be sent again", baseline, source_.length()));
    else
        tools_.log->info("transfer",
            fmt::format(
                "{} as {} parts of {}", name(), source_.partCount(), formatByteCount(source_.stretch(1).length())));
}

Task<> LargeUpload::sendPart(int number)
{
    co_await checkCancelled();
    const auto part = co_await source_.part(number);
    co_await source_.requireUnchanged(number);
    const auto& policy = tools_.retryPolicy;
    auto& log = *tools_.log;
    B2RetryTeller teller(request_.onPartRetry, number);
    const B2Progress onProgress = [tally = tally_, number](
                                      std::int64_t done, std::int64_t) { tally->report(number, done); };

    for (int attempt = 0;; ++attempt) {
        std::optional<UploadURLPool<B2UploadPartTarget>::Lease> lease;
        std::exception_ptr failure;
        try {
            lease = co_await pool_->acquire();
            B2HTTPRequest sent;
            sent.url = lease->target.uploadURL;
            sent.headers = partHeaders(lease->target, number, part.sha1);
            const auto reply = co_await tools_.transport->upload(std::move(sent), part.body, onProgress);
            requireSuccess(reply.response, reply.body);
        } catch (...) {
            failure = std::current_exception();
        }

        if (!failure) {
            co_await pool_->release(std::move(*lease));
            tally_->report(number, part.length);
            if (attempt > 0)
                log.notice("transfer",
                    fmt::format("Part {} succeeded after {} {}", number, attempt, attempt == 1 ? "retry" : "retries"));
            teller.goesOn();
            digests_[number] = part.sha1;
            reportPartsDone();
            co_return;
        }

        if (lease)
            co_await pool_->discard(lease->target);
        const int next = attempt + 1;
        if (!isCancellation(failure)) {
            // The digest is of the part as it was: to send it again would be refused again.
            try {
                co_await source_.requireUnchanged(number);
                if (co_await source_.wasRefusedForItsBytes(&part, failure))
                    throw B2Error(B2Error::SourceChangedSinceUpload{number});
            } catch (...) {
                failure = std::current_exception();
            }
        }
        if (next >= policy.maxDataAttempts || !isRetryableTransferFailure(failure))
            endPart(log, number, next, failure);
        const double wait = backoffSeconds(policy, attempt, tools_.jitter());
        log.warning("transfer",
            fmt::format(
                "Part {} refused, retry {}/{} in {}", number, next, policy.maxDataAttempts - 1, formatWait(wait)),
            describe(failure));
        tally_->report(number, 0);
        teller.backsOff(next, policy.maxDataAttempts, wait, shortReason(failure));
        try {
            co_await tools_.sleeper->sleep(wait);
        } catch (...) {
            endPart(log, number, next, std::current_exception());
        }
    }
}

void LargeUpload::reportPartsDone() const
{
    if (request_.onPartsDone)
        request_.onPartsDone(static_cast<int>(digests_.size()), source_.partCount());
}

Task<B2FileVersion> LargeUpload::finish()
{
    co_await source_.requireUnchanged(source_.partCount());
    std::vector<std::string> digests;
    digests.reserve(source_.plan().size());
    for (int number = 1; number <= source_.partCount(); ++number) {
        const auto found = digests_.find(number);
        if (found == digests_.end())
            throw B2Error(B2Error::MissingPart{number});
        digests.push_back(found->second);
    }
    co_return co_await client_->finishLargeFile(fileID_, std::move(digests));
}

} // namespace

Task<B2FileVersion> uploadLargeFile(std::shared_ptr<B2Client> client, B2UploadLargeFileRequest request)
{
    LargeUpload upload(std::move(client), std::move(request));
    co_return co_await upload.run();
}
