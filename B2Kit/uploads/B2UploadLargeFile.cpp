#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/files/B2FileWorker.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/pipeline/B2RetryTeller.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "B2Kit/uploads/ByteTally.h"
#include "B2Kit/uploads/UploadURLPool.h"
#include "B2Kit/wire/B2ByteCount.h"
#include "B2Kit/wire/B2Text.h"
#include "async/Group.h"

#include <fmt/format.h>

/// One upload in parts. Lives in the frame of `uploadLargeFile`, on the client's executor.
struct B2Client::LargeUpload {
    B2UploadLargeFileRequest request;
    B2HashedBody whole;
    std::vector<B2PartStretch> plan;
    std::string fileID;
    std::map<int, std::string> digests; ///< Of the parts that are on B2, by number.
    std::vector<int> pending;           ///< The other numbers, ascending.
    std::shared_ptr<UploadURLPool<B2UploadPartTarget>> pool;
    std::shared_ptr<ByteTally> tally;

    const B2PartStretch& stretch(int number) const { return plan.at(static_cast<std::size_t>(number) - 1); }
    int partCount() const { return static_cast<int>(plan.size()); }
    std::string name() const { return oneLine(request.fileName); }

    void tellPartsDone() const
    {
        if (request.onPartsDone)
            request.onPartsDone(static_cast<int>(digests.size()), partCount());
    }
};

namespace {

/// An hour under the service's day.

// Free coroutines here take pointers: nothing of theirs belongs to an actor.

void requireLarge(std::int64_t size)
{
    if (size < B2LargeFileLimits::smallestFile)
        throw B2Error(B2Error::FileTooSmallForLargeUpload{size});
}

Task<std::int64_t> sizeOfSource(const B2UploadLargeFileRequest* request)
{
    if (const auto* const memory = std::get_if<std::shared_ptr<const std::string>>(&request->source))
        co_return static_cast<std::int64_t>((*memory)->size());
    B2FileWorker worker;
    co_return co_await worker.sizeOf(std::get<std::filesystem::path>(request->source));
}

Task<B2HashedBody> hashedFile(
    B2FileRange range, const std::vector<B2PartStretch>* plan, const B2UploadLargeFileRequest* request)
{
    B2FileWorker worker;
    if (!request->recordsWholeFileChecksum)
        co_return co_await worker.stamp(std::move(range));
    B2HashWatch watch{.onRead = request->onHashing};
    // Of a changed source the digest tells whether it is still the file that was started; no part can.
    if (!request->startedSHA1)
        watch.isSkipped = request->isChecksumSkipped;
    co_return co_await worker.hashInParts(std::move(range), *plan, std::move(watch));
}

Task<B2HashedBody> hashedSource(
    std::int64_t size, const std::vector<B2PartStretch>* plan, const B2UploadLargeFileRequest* request)
{
    if (const auto* const path = std::get_if<std::filesystem::path>(&request->source)) {
        B2FileRange range{*path, 0, size};
        co_return co_await hashedFile(std::move(range), plan, request);
    }
    B2HashedBody whole{.body = std::get<std::shared_ptr<const std::string>>(request->source), .length = size};
    if (request->hashesMemory)
        whole.sha1 = co_await sha1Aside(*std::get<std::shared_ptr<const std::string>>(request->source));
    co_return whole;
}

/// A part for all its attempts: of a file, which is read again for each, or of bytes in memory.
///
/// @param index  of its digest, if there is one from before.
Task<B2HashedBody> hashedPart(const B2HashedBody* whole, B2PartStretch stretch, std::size_t index)
{
    B2HashedBody part{.length = stretch.length()};
    if (const auto* const file = whole->file()) {
        B2FileRange range{file->path, stretch.start, stretch.length()};
        part.body = range;
        if (index < whole->partSHA1s.size()) {
            part.sha1 = whole->partSHA1s[index];
            co_return part;
        }
        B2FileWorker worker;
        part.sha1 = co_await worker.sha1OfFile(std::move(range));
    } else {
        const auto& memory = std::get<std::shared_ptr<const std::string>>(whole->body);
        auto bytes = std::make_shared<const std::string>(
            *memory, static_cast<std::size_t>(stretch.start), static_cast<std::size_t>(stretch.length()));
        part.sha1 = co_await sha1Aside(*bytes);
        part.body = std::move(bytes);
    }
    co_return part;
}

/// @throws B2FileError when the file that was read is not the one that the caller has looked at.
void requireExpected(const B2HashedBody& whole, const std::optional<B2SourceState>& expected)
{
    const auto* const file = whole.file();
    if (!expected || !file || !whole.stamp)
        return;
    const auto sinceEpoch = std::chrono::nanoseconds(expected->modificationDate.time_since_epoch());
    if (*whole.stamp
        != B2FileStamp{.size = expected->size, .modifiedNanoseconds = sinceEpoch.count(), .inode = expected->inode})
        throw changedFileError(file->path);
}

/// @throws B2Error when the file is no longer what was hashed.
Task<> requireUnchanged(const B2HashedBody* whole, const std::vector<B2PartStretch>* plan, int partNumber)
{
    const auto* const file = whole->file();
    B2FileWorker worker;
    if (!file || !co_await worker.hasChanged(*whole))
        co_return;
    const auto size = co_await worker.sizeOf(file->path);
    const auto cut = std::ranges::find_if(*plan, [size](const B2PartStretch& part) { return part.end > size; });
    if (cut == plan->end())
        throw B2Error(B2Error::SourceChangedSinceUpload{partNumber});
    throw B2Error(B2Error::InvalidResponse{
        fmt::format("Short read at offset {} of {}", cut->start, file->path.filename().string())});
}

/// Was the part refused because the file holds other bytes by now, though it looks as it did?
Task<bool> wasRefusedForItsBytes(const B2HashedBody* part, std::exception_ptr failure)
{
    const auto* const file = part->file();
    if (!file || !isRefusal(failure, "bad_request"))
        co_return false;
    B2FileWorker worker;
    co_return co_await worker.sha1OfFile(*file) != part->sha1;
}

/// Is it what this upload would have become? Without two digests to compare, a source that may have changed is not.
bool isOf(const B2HashedBody& whole, const B2FileVersion& version, bool mayHaveChanged)
{
    if (version.contentLength != whole.length)
        return false;
    const auto digest = version.largeFileSHA1();
    return whole.sha1.empty() || !digest ? !mayHaveChanged : *digest == whole.sha1;
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

} // namespace

Task<B2FileVersion> B2Client::uploadLargeFile(B2UploadLargeFileRequest request)
{
    LargeUpload upload{.request = std::move(request)};
    const auto size = co_await sizeOfSource(&upload.request);
    requireLarge(size);
    {
        const auto record = co_await currentAuthorization();
        const auto& storage = record->storage;
        upload.plan =
            planParts(size, upload.request.partSize, storage.recommendedPartSize, storage.absoluteMinimumPartSize);
    }
    upload.whole = co_await hashedSource(size, &upload.plan, &upload.request);
    requireExpected(upload.whole, upload.request.expectedSource);
    auto& fileInfo = upload.request.fileInfo;
    if (!upload.whole.sha1.empty())
        fileInfo["large_file_sha1"] = upload.whole.sha1;
    if (upload.request.modificationDate)
        setLastModified(fileInfo, *upload.request.modificationDate);

    if (upload.request.resumeFileID) {
        upload.fileID = *upload.request.resumeFileID;
        if (auto finished = co_await trustStoredParts(upload))
            co_return std::move(*finished);
    } else {
        co_await start(upload);
    }
    co_await sendParts(upload);
    co_return co_await finish(upload);
}

Task<> B2Client::start(LargeUpload& upload)
{
    B2StartLargeFileRequest request{.bucketID = upload.request.bucketID,
        .fileName = upload.request.fileName,
        .contentType = upload.request.contentType,
        .fileInfo = upload.request.fileInfo};
    auto version = co_await startLargeFile(std::move(request));
    if (!version.fileID)
        throw B2Error(B2Error::InvalidResponse{"b2_start_large_file returned no fileId"});
    upload.fileID = *version.fileID;
    if (upload.request.onStarted)
        upload.request.onStarted(upload.fileID, upload.whole.sha1);
}

Task<std::optional<B2FileVersion>> B2Client::trustStoredParts(LargeUpload& upload)
{
    std::exception_ptr refusal;
    try {
        upload.digests = trustedParts(upload.plan, co_await storedParts(upload.fileID));
    } catch (const B2Error& error) {
        if (!isRefusal(error, "bad_request"))
            throw;
        refusal = std::current_exception();
    }
    if (refusal) {
        // No unfinished file has this id; the one that was stopped may have been finished all the same.
        auto finished = co_await finishedLargeFile(upload.fileID);
        if (!finished || finished->fileName != upload.request.fileName)
            std::rethrow_exception(refusal);
        if (!isOf(upload.whole, *finished, upload.request.verifiesEveryPart))
            throw B2Error(B2Error::SourceChangedSinceUpload{.partNumber = 1, .isFinished = true});
        options_.log->notice("transfer", upload.name() + " had been finished already");
        co_return finished;
    }

    const auto& started = upload.request.startedSHA1;
    const bool hasOtherDigest = started && !upload.whole.sha1.empty() && *started != upload.whole.sha1;
    for (const auto& [number, digest] : upload.digests) {
        const auto part =
            co_await hashedPart(&upload.whole, upload.stretch(number), static_cast<std::size_t>(number) - 1);
        if (part.sha1 != digest)
            throw B2Error(B2Error::SourceChangedSinceUpload{number});
        if (!upload.request.verifiesEveryPart && !hasOtherDigest)
            break;
    }
    if (hasOtherDigest) {
        int number = 1;
        while (upload.digests.contains(number))
            ++number;
        throw B2Error(B2Error::SourceChangedSinceUpload{number});
    }
    co_return std::nullopt;
}

Task<std::vector<B2Part>> B2Client::storedParts(std::string fileID)
{
    std::vector<B2Part> stored;
    std::optional<int> start;
    for (;;) {
        auto page = co_await listParts(fileID, start);
        std::ranges::move(page.parts, std::back_inserter(stored));
        // What a cursor that does not advance keeps back is sent again, which is safe.
        const auto next = page.nextPartNumber;
        if (!next || *next <= start.value_or(1) || *next > B2LargeFileLimits::mostParts)
            co_return stored;
        start = next;
    }
}

Task<> B2Client::sendParts(LargeUpload& upload)
{
    std::int64_t baseline = 0;
    for (int number = 1; number <= upload.partCount(); ++number) {
        if (upload.digests.contains(number))
            baseline += upload.stretch(number).length();
        else
            upload.pending.push_back(number);
    }
    const auto done = upload.digests.size();
    if (upload.request.onResumeState)
        upload.request.onResumeState(static_cast<int>(done), upload.partCount());
    upload.tally = std::make_shared<ByteTally>(baseline, upload.whole.length, upload.request.onProgress);
    if (done > 0)
        options_.log->notice("transfer",
            fmt::format("{}: {} of {} parts already on B2", upload.name(), done, upload.partCount()),
            fmt::format("{} of {} bytes will not be sent again", baseline, upload.whole.length));
    else
        options_.log->info("transfer",
            fmt::format("{} as {} parts of {}", upload.name(), upload.partCount(),
                formatByteCount(upload.stretch(1).length())));

    upload.pool = std::make_shared<UploadURLPool<B2UploadPartTarget>>(
        executor_, [this, fileID = upload.fileID] { return uploadPartURL(fileID); }, longestTargetAge);
    const auto width = static_cast<std::size_t>(std::max(upload.request.concurrency, 1));
    co_await forEachBounded(upload.pending.size(), width,
        [this, &upload](std::size_t index) { return sendPart(upload, upload.pending[index]); });
}

Task<> B2Client::sendPart(LargeUpload& upload, int number)
{
    co_await checkCancelled();
    const auto part = co_await hashedPart(&upload.whole, upload.stretch(number), static_cast<std::size_t>(number) - 1);
    co_await requireUnchanged(&upload.whole, &upload.plan, number);
    const auto& policy = options_.retryPolicy;
    auto& log = *options_.log;
    B2RetryTeller teller(upload.request.onPartRetry, number);
    const B2Progress onProgress = [tally = upload.tally, number](
                                      std::int64_t done, std::int64_t) { tally->report(number, done); };

    for (int attempt = 0;; ++attempt) {
        std::optional<UploadURLPool<B2UploadPartTarget>::Lease> lease;
        std::exception_ptr failure;
        try {
            lease = co_await upload.pool->acquire();
            B2HTTPRequest sent;
            sent.url = lease->target.uploadURL;
            sent.headers = partHeaders(lease->target, number, part.sha1);
            const auto reply = co_await options_.transport->upload(std::move(sent), part.body, onProgress);
            requireSuccess(reply.response, reply.body);
        } catch (...) {
            failure = std::current_exception();
        }

        if (!failure) {
            co_await upload.pool->release(std::move(*lease));
            upload.tally->report(number, part.length);
            if (attempt > 0)
                log.notice("transfer",
                    fmt::format("Part {} succeeded after {} {}", number, attempt, attempt == 1 ? "retry" : "retries"));
            teller.goesOn();
            upload.digests[number] = part.sha1;
            upload.tellPartsDone();
            co_return;
        }

        if (lease)
            co_await upload.pool->discard(lease->target);
        const int next = attempt + 1;
        if (!isCancellation(failure)) {
            // The digest is of the part as it was: to send it again would be refused again.
            try {
                co_await requireUnchanged(&upload.whole, &upload.plan, number);
                if (co_await wasRefusedForItsBytes(&part, failure))
                    throw B2Error(B2Error::SourceChangedSinceUpload{number});
            } catch (...) {
                failure = std::current_exception();
            }
        }
        if (next >= policy.maxDataAttempts || !isRetryableTransferFailure(failure))
            endPart(log, number, next, failure);
        const double wait = backoffSeconds(policy, attempt, options_.jitter());
        log.warning("transfer",
            fmt::format(
                "Part {} refused, retry {}/{} in {}", number, next, policy.maxDataAttempts - 1, formatWait(wait)),
            describe(failure));
        upload.tally->report(number, 0);
        teller.backsOff(next, policy.maxDataAttempts, wait, shortReason(failure));
        try {
            co_await options_.sleeper->sleep(wait);
        } catch (...) {
            endPart(log, number, next, std::current_exception());
        }
    }
}

Task<B2FileVersion> B2Client::finish(LargeUpload& upload)
{
    co_await requireUnchanged(&upload.whole, &upload.plan, upload.partCount());
    std::vector<std::string> digests;
    digests.reserve(upload.plan.size());
    for (int number = 1; number <= upload.partCount(); ++number) {
        const auto found = upload.digests.find(number);
        if (found == upload.digests.end())
            throw B2Error(B2Error::MissingPart{number});
        digests.push_back(found->second);
    }
    co_return co_await finishLargeFile(upload.fileID, std::move(digests));
}
