#include "transfers/upload/UploadRun.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "async/Background.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/RowReports.h"
#include "transfers/TransferFailure.h"
#include "transfers/resume/ResumeStore.h"
#include "transfers/upload/LargeUpload.h"
#include "transfers/upload/UploadSource.h"

#include <fmt/format.h>

#include <atomic>

namespace {

struct InspectedFile {
    std::expected<UploadSource, BytesFailure> source;
    std::string contentType;
};

/// Sends the file in one request.
/// @param mayBeStored  set when an answer is lost after the whole file was sent.
Task<> sendWhole(const UploadOrder* order, const TransferRun* run, const UploadContext* context,
    const UploadSource* source, std::string contentType, std::shared_ptr<std::atomic<bool>> mayBeStored)
{
    noteTransferStart(*run->transfer);
    B2UploadFileRequest request{.bucketID = order->bucket.bucketID,
        .fileName = run->transfer->remoteName,
        .contentType = std::move(contentType),
        .body = B2FileRange{source->path, 0, source->byteCount},
        .modificationDate = source->modificationDate,
        .onProgress = progressOf(*run, *context->log),
        .onRetry = retryReportsOf(*run),
        .onAnswerLost = [mayBeStored = std::move(mayBeStored)] { mayBeStored->store(true); }};
    const auto client = order->session->client;
    co_await client->uploadFile(std::move(request));
}

/// Interprets the end of an upload in one request: a failure, or a source that changed on the way.
Task<std::optional<UploadProblem>> endOfWhole(
    Transfer* transfer, const UploadSource* source, std::exception_ptr failure)
{
    // The file is read twice, for the hash and for the body, so a write in between may be missing or make them differ.
    const auto now = co_await runInBackground([source = *source] { return compare(source); });
    // The service has checked the body against the digest, so a file that was deleted since is stored whole.
    if (!failure && now != SourceChange::changed)
        co_return std::nullopt;
    if (now == SourceChange::none || (failure && isRetryableConnectionFailure(failure)))
        co_return UploadProblem{.failure = uploadFailure(failure, transfer->fate), .line = {}};
    const auto name = source->path.filename().string();
    if (failure)
        co_return UploadProblem{
            .failure = {.cause = fmt::format("\"{}\" changed or went away while it was being uploaded.", name),
                .fate = transfer->fate,
                .advice = "Upload it again when nothing writes to it any more."},
            .line = {}};
    transfer->fate = BytesFate::whole();
    co_return UploadProblem{.failure = {.cause = fmt::format("\"{}\" changed while it was being uploaded.", name),
                                .fate = transfer->fate,
                                .advice = "Upload it again to store its present content."},
        .line = {}};
}

/// Sends the file.
/// @returns nothing when the file is stored as it is on the disk.
Task<std::optional<UploadProblem>> send(const UploadOrder& order, const TransferRun& run, const UploadContext& context)
{
    Transfer& transfer = *run.transfer;
    run.setState(Transfer::State::running());
    co_await checkCancelled();
    auto inspected = co_await runInBackground([path = order.source, fate = fateOf(transfer)] {
        return InspectedFile{inspectUploadSource(path, fate), contentTypeFor(path)};
    });
    co_await checkCancelled();
    if (!inspected.source)
        co_return UploadProblem{.failure = inspected.source.error(), .line = {}};
    const UploadSource& source = *inspected.source;
    transfer.byteCount = source.byteCount;
    if (*transfer.resumableFileID && source.byteCount < B2LargeFileLimits::smallestFile) {
        transfer.resumableFileID = std::nullopt;
        transfer.startedSHA1 = std::string();
        transfer.fate = BytesFate::parts();
        co_return UploadProblem{
            .failure = {.cause = fmt::format("\"{}\" is much smaller than when its upload began, so that upload can't "
                                             "go on.",
                            source.path.filename().string()),
                .fate = transfer.fate,
                .advice = "\"Unfinished Uploads\" of the bucket removes them. Retry sends the file as it is now."},
            .line = {}};
    }
    // An upload begun in parts continues in parts, whatever the size is now.
    const bool isLarge = source.byteCount >= largeFileThreshold || *transfer.resumableFileID;

    const auto mayBeStored = std::make_shared<std::atomic<bool>>(false);
    std::exception_ptr failure;
    try {
        if (isLarge)
            co_await sendInParts(&order, &run, &context, &source, std::move(inspected.contentType));
        else
            co_await sendWhole(&order, &run, &context, &source, std::move(inspected.contentType), mayBeStored);
    } catch (...) {
        failure = std::current_exception();
    }
    // Kept for the next attempt, even when this one was stopped.
    if (mayBeStored->load() && failure)
        transfer.fate = BytesFate::maybe();
    co_await checkCancelled();
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    if (!isLarge)
        co_return co_await endOfWhole(&transfer, &source, failure);
    if (failure)
        co_return endOfLargeUpload(transfer, failure);
    co_return std::nullopt;
}

} // namespace

Task<> runUpload(UploadOrder order, TransferRun run, UploadContext context)
{
    Transfer& transfer = *run.transfer;
    std::optional<UploadProblem> problem;
    std::exception_ptr failure;
    try {
        problem = co_await send(order, run, context);
    } catch (...) {
        failure = std::current_exception();
    }
    const bool wasStopped = (co_await currentStopToken()).stop_requested();
    if (run.isCurrent()) {
        transfer.isHashing = false;
        transfer.partsInTrouble = {};
    }
    if (wasStopped || (failure && isCancellation(failure))) {
        run.setState(Transfer::State::cancelled());
        co_return;
    }
    if (failure)
        problem = UploadProblem{.failure = uploadFailure(failure, fateOf(transfer)), .line = {}};
    if (problem) {
        endAsFailed(run, *context.log, problem->failure, std::move(problem->line));
        co_return;
    }
    if (context.resumeStore && *transfer.resumableFileID)
        context.resumeStore->remove(**transfer.resumableFileID);
    transfer.resumableFileID = std::nullopt;
    transfer.fate = BytesFate::nothing();
    transfer.bytesTransferred = *transfer.byteCount;
    run.setState(Transfer::State::finished());
    context.log->record({B2LogLevel::notice, "transfer", "Uploaded " + transfer.displayName, transfer.remoteName});
}
