#include "B2Kit/uploads/B2LargeUpload.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/pipeline/B2ByteCount.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/pipeline/B2RetryReporter.h"
#include "B2Kit/uploads/B2PartSource.h"
#include "B2Kit/uploads/B2UploadLoop.h"
#include "B2Kit/uploads/ByteTally.h"
#include "B2Kit/uploads/UploadURLPool.h"
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
    /// @returns the version when the upload to resume turns out to be finished.
    Task<std::optional<B2FileVersion>> trustStoredParts();
    Task<std::optional<B2FileVersion>> finishedBefore(std::exception_ptr refusal);
    /// @throws B2Error when the source differs from what is stored.
    Task<> verifyStoredParts();
    Task<> sendParts();
    Task<> sendPart(int number);
    /// @throws B2Error when the attempt failed because the source has changed.
    Task<> examinePart(const B2HashedBody* part, int number, std::exception_ptr failure);
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

/// Is it the version this upload would have become? Without two digests to compare, only if the source is unchanged.
bool isOf(const B2PartSource& source, const B2FileVersion& version, bool mayHaveChanged)
{
    if (version.contentLength != source.length())
        return false;
    const auto digest = version.largeFileSHA1();
    return source.sha1().empty() || !digest ? !mayHaveChanged : *digest == source.sha1();
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
        digests_ = trustedParts(source_.plan(), co_await client_->allParts(fileID_));
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

Task<std::optional<B2FileVersion>> LargeUpload::finishedBefore(std::exception_ptr refusal)
{
    // No unfinished file has this id; the interrupted upload may have been finished all the same.
    auto finished = co_await client_->finishedLargeFile(fileID_);
    if (!finished || finished->fileName != request_.fileName)
        std::rethrow_exception(refusal);
    if (!isOf(source_, *finished, request_.verifiesEveryPart))
        throw B2Error(B2Error::SourceChangedSinceUpload{.partNumber = 1, .isFinished = true});
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
    B2RetryReporter reporter(request_.onPartRetry, number);
    B2BodyUpload upload{.body = part.body,
        .headers = {{"X-Bz-Part-Number", std::to_string(number)}, {"X-Bz-Content-Sha1", part.sha1}},
        .texts = {.subject = fmt::format("Part {}", number),
            .failed = "gave up",
            .stopLevel = B2LogLevel::debug,
            .reason = describe},
        .reporter = &reporter};
    upload.progress = [this, number] {
        return [tally = tally_, number](std::int64_t done, std::int64_t) { tally->report(number, done); };
    };
    upload.examine = [this, &part, number](
                         std::exception_ptr failure, bool) { return examinePart(&part, number, std::move(failure)); };
    upload.onRetry = [this, number] { tally_->report(number, 0); };
    const int retries = co_await sendBody(&tools_, pool_.get(), &upload);

    tally_->report(number, part.length);
    if (retries > 0)
        tools_.log->notice("transfer",
            fmt::format("Part {} succeeded after {} {}", number, retries, retries == 1 ? "retry" : "retries"));
    reporter.recovered();
    digests_[number] = part.sha1;
    reportPartsDone();
}

Task<> LargeUpload::examinePart(const B2HashedBody* part, int number, std::exception_ptr failure)
{
    // The digest is of the part as it was: sent again, the part would be refused again.
    co_await source_.requireUnchanged(number);
    if (co_await source_.wasRefusedForItsBytes(part, std::move(failure)))
        throw B2Error(B2Error::SourceChangedSinceUpload{number});
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
