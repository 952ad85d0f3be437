#include "transfers/upload/LargeUpload.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "foundation/MainExecutor.h"
#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"
#include "transfers/RowReports.h"
#include "transfers/resume/ResumeStore.h"

#include <fmt/format.h>

namespace {

/// Why the file is, or is not, read once before it is sent.
enum class ChecksumPass { runs, skippedForFolder, resuming, runsForChangedSource, turnedOff };

bool isSkipRaised(const Transfer& transfer)
{
    return transfer.skipChecksum->isRaised()
        || (transfer.folderSkipChecksum && transfer.folderSkipChecksum->isRaised());
}

bool isAsItWasStarted(const Transfer& transfer, const UploadSource& source)
{
    const auto& bookmark = *transfer.sourceBookmark;
    return bookmark && bookmark->byteCount == source.byteCount && bookmark->modificationDate == source.modificationDate;
}

ChecksumPass decidePass(const Transfer& transfer, const UploadSource& source, const Settings& settings)
{
    const bool isResuming = transfer.resumableFileID->has_value();
    if (isResuming && !isAsItWasStarted(transfer, source) && !transfer.startedSHA1->empty())
        return ChecksumPass::runsForChangedSource;
    if (isSkipRaised(transfer))
        return ChecksumPass::skippedForFolder;
    if (isResuming)
        return ChecksumPass::resuming;
    // True turns the pass off, although the key's name suggests the opposite.
    const bool isTurnedOff = settings.boolean(SettingsKeys::recordWholeFileChecksum).value_or(false);
    return isTurnedOff ? ChecksumPass::turnedOff : ChecksumPass::runs;
}

void logPass(ChecksumPass pass, const Transfer& transfer, ActivityLog& log)
{
    const auto& name = transfer.displayName;
    switch (pass) {
    case ChecksumPass::skippedForFolder:
        log.record({B2LogLevel::warning, "transfer", fmt::format("Uploading {} without a whole-file checksum", name),
            "Checksums were skipped for this folder. Parts are still checked in transit; the stored file cannot be "
            "verified later."});
        break;
    case ChecksumPass::runs:
        log.record({B2LogLevel::info, "transfer", fmt::format("Preparing {}, reading it to record a checksum", name),
            sizeText(*transfer.byteCount)
                + " to read before the upload starts. Turn the whole-file checksum off in Settings to skip this."});
        break;
    case ChecksumPass::resuming:
        log.record({B2LogLevel::info, "transfer", fmt::format("Skipping the checksum pass for {}", name),
            "Resuming, so the whole-file checksum recorded when the upload was first started still stands."});
        break;
    case ChecksumPass::runsForChangedSource:
        log.record({B2LogLevel::notice, "transfer", fmt::format("Reading {} again before the upload goes on", name),
            "Its date or size has changed since the upload began. Only a file with the same content is resumed."});
        break;
    case ChecksumPass::turnedOff:
        log.record({B2LogLevel::warning, "transfer", fmt::format("Uploading {} without a whole-file checksum", name),
            "Turned off in Settings. Parts are still checked in transit; the stored file cannot be verified later."});
        break;
    }
}

/// Saves what a later attempt needs, even when the record is gone.
Task<> noteStarted(std::weak_ptr<Transfer> transfer, ResumableUpload upload, ResumeStore* store)
{
    if (const auto record = transfer.lock()) {
        record->resumableFileID = upload.fileID;
        record->startedSHA1 = upload.sha1;
        record->sourceBookmark = upload.source;
    }
    if (store)
        store->record(std::move(upload));
    co_return;
}

std::function<void(const std::string&, const std::string&)> startReportOf(
    const TransferRun& run, const UploadOrder& order, const UploadSource& source, ResumeStore* store)
{
    const ResumableUpload upload{.bucketID = order.bucket.bucketID,
        .remoteName = run.transfer->remoteName,
        .byteCount = source.byteCount,
        .source = {source.path, source.byteCount, source.modificationDate}};
    return [transfer = std::weak_ptr(run.transfer), upload, store](const std::string& fileID, const std::string& sha1) {
        ResumableUpload started = upload;
        started.fileID = fileID;
        started.sha1 = sha1;
        spawn(MainExecutor::shared(), noteStarted(transfer, std::move(started), store));
    };
}

void showParts(Transfer& transfer, int done, int count)
{
    transfer.partsCompleted = done;
    transfer.partCount = count;
}

void showResumeState(Transfer& transfer, int done, int count)
{
    transfer.isHashing = false;
    showParts(transfer, done, count);
    if (done > 0)
        transfer.partsAtStart = done;
    else
        noteTransferStart(transfer);
}

} // namespace

Task<> sendInParts(const UploadOrder* order, const TransferRun* run, const UploadContext* context,
    const UploadSource* source, std::string contentType)
{
    Transfer& transfer = *run->transfer;
    const auto pass = decidePass(transfer, *source, *context->settings);
    const bool isHashing = pass == ChecksumPass::runs || pass == ChecksumPass::runsForChangedSource;
    transfer.isHashing = isHashing;
    if (isHashing)
        transfer.hashStartedAt = Transfer::Clock::now();
    logPass(pass, transfer, *context->log);

    const RowOfAttempt row(*run);
    B2UploadLargeFileRequest request{.bucketID = order->bucket.bucketID,
        .fileName = transfer.remoteName,
        .contentType = std::move(contentType),
        .source = source->path,
        .modificationDate = source->modificationDate,
        .recordsWholeFileChecksum = isHashing,
        .expectedSource = B2SourceState{source->byteCount, source->modificationDate, source->inode},
        .resumeFileID = *transfer.resumableFileID,
        .onHashing = hashingReportsOf(*run, source->byteCount),
        .onStarted = startReportOf(*run, *order, *source, context->resumeStore),
        .onResumeState =
            [row](int done, int count) {
                row.show([done, count](Transfer& shown) { showResumeState(shown, done, count); });
            },
        .onProgress = progressOf(*run, *context->log),
        .onPartRetry = retryReportsOf(*run),
        .onPartsDone = [row](int done,
                           int count) { row.show([done, count](Transfer& shown) { showParts(shown, done, count); }); }};
    if (pass == ChecksumPass::runs)
        request.isChecksumSkipped = [own = transfer.skipChecksum, folder = transfer.folderSkipChecksum] {
            return own->isRaised() || (folder && folder->isRaised());
        };
    if (*transfer.resumableFileID && !isAsItWasStarted(transfer, *source)) {
        request.verifiesEveryPart = true;
        if (!transfer.startedSHA1->empty())
            request.startedSHA1 = *transfer.startedSHA1;
    }
    const auto client = order->session->client;
    co_await uploadLargeFile(client, std::move(request));
}

UploadProblem endOfLargeUpload(Transfer& transfer, const std::exception_ptr& failure)
{
    // With every part sent, only the last step can have failed, and a lost answer to it may mean success.
    const bool isAllSent = *transfer.partCount && *transfer.partsCompleted == *transfer.partCount;
    const bool mayBeFinished = isAllSent && isRetryableTransferFailure(failure);
    const auto fileID = *transfer.resumableFileID;
    UploadProblem problem{
        .failure = uploadFailure(failure, mayBeFinished ? BytesFate::maybe() : fateOf(transfer)), .line = {}};
    if (!fileID)
        return problem;
    // Once parts were sent, a source with a new date may still have the same content. The next attempt compares it.
    const bool hasBegun = transfer.partCount->has_value();
    if (isGoneAtService(failure) || (!hasBegun && isOfAnotherSource(failure))) {
        transfer.resumableFileID = std::nullopt;
        transfer.startedSHA1 = std::string();
        transfer.fate = problem.failure.fate;
        return problem;
    }
    problem.line.detail =
        fmt::format("{} - resumable, large file {} still holds the parts already sent", problem.failure.cause, *fileID);
    return problem;
}
