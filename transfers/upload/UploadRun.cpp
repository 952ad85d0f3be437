#include "transfers/upload/UploadRun.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "async/Background.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/FailureTexts.h"
#include "transfers/RowReports.h"
#include "transfers/resume/ResumeStore.h"
#include "transfers/upload/LargeUpload.h"
#include "transfers/upload/UploadSource.h"

#include <fmt/format.h>

namespace {

struct InspectedFile {
    std::expected<UploadSource, std::string> source;
    std::string contentType;
};

/// Why a file did not reach the service as it is on the disk.
using Problem = LargeUploadEnd;

std::optional<Problem> problem(std::string text)
{
    return Problem{text, text};
}

/// What has become of the bytes when the source cannot be read.
std::string_view keptOf(const Transfer& transfer)
{
    return *transfer.resumableFileID ? partsStayStored : nothingWasSent;
}

Task<> sendWhole(const UploadOrder* order, const TransferRun* run, const UploadContext* context,
    const UploadSource* source, std::string contentType)
{
    noteTransferStart(*run->transfer);
    B2UploadFileRequest request{.bucketID = order->bucket.bucketID,
        .fileName = run->transfer->remoteName,
        .contentType = std::move(contentType),
        .body = B2FileRange{source->path, 0, source->byteCount},
        .modificationDate = source->modificationDate,
        .onProgress = progressOf(*run, *context->log),
        .onRetry = retryReportsOf(*run)};
    const auto client = order->session->client;
    co_await client->uploadFile(std::move(request));
}

/// What a failure, or a source that changed on the way, means for a file that was sent whole.
Task<std::optional<Problem>> endOfWhole(const UploadSource* source, std::exception_ptr failure)
{
    // Hash and body are read one after the other: what was written meanwhile makes them differ, or is missing.
    const auto now = co_await runInBackground([source = *source] { return compare(source); });
    const bool isSame = now == SourceChange::none;
    // The service has checked what came against the digest, so a file that has gone since is stored whole.
    if (!failure && now != SourceChange::changed)
        co_return std::nullopt;
    if (isSame || (failure && isRetryableConnectionFailure(failure)))
        co_return problem(uploadFailureText(failure));
    const auto name = source->path.filename().string();
    if (failure)
        co_return problem(
            fmt::format("\"{}\" changed or went away while it was being uploaded, so nothing was stored of it. "
                        "Upload it again when nothing writes to it any more.",
                name));
    co_return problem(
        fmt::format("\"{}\" changed while it was being uploaded. B2 holds it as it was when it was read; upload "
                    "it again to store what it holds now.",
            name));
}

/// Sends the file.
/// @returns nothing when it reached the service as it is on the disk.
Task<std::optional<Problem>> send(const UploadOrder& order, const TransferRun& run, const UploadContext& context)
{
    Transfer& transfer = *run.transfer;
    run.setState(Transfer::State::running());
    co_await checkCancelled();
    auto inspected = co_await runInBackground([path = order.source, kept = keptOf(transfer)] {
        return InspectedFile{inspectUploadSource(path, kept), contentTypeFor(path)};
    });
    co_await checkCancelled();
    if (!inspected.source)
        co_return problem(inspected.source.error());
    const UploadSource& source = *inspected.source;
    transfer.byteCount = source.byteCount;
    if (*transfer.resumableFileID && source.byteCount < B2LargeFileLimits::smallestFile) {
        transfer.resumableFileID = std::nullopt;
        transfer.startedSHA1 = std::string();
        co_return problem(fmt::format(
            "\"{}\" is much smaller than when its upload began, so that upload can't go on. Its parts stay stored "
            "until they are removed from the bucket's unfinished uploads. Retry sends the file as it is now.",
            source.path.filename().string()));
    }
    // What was begun in parts goes on in parts, whatever the size is now.
    const bool isLarge = source.byteCount >= largeFileThreshold || *transfer.resumableFileID;

    std::exception_ptr failure;
    try {
        if (isLarge)
            co_await sendInParts(&order, &run, &context, &source, std::move(inspected.contentType));
        else
            co_await sendWhole(&order, &run, &context, &source, std::move(inspected.contentType));
    } catch (...) {
        failure = std::current_exception();
    }
    co_await checkCancelled();
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    if (!isLarge)
        co_return co_await endOfWhole(&source, failure);
    if (failure)
        co_return endOfLargeUpload(transfer, failure);
    co_return std::nullopt;
}

} // namespace

Task<> runUpload(UploadOrder order, TransferRun run, UploadContext context)
{
    Transfer& transfer = *run.transfer;
    std::optional<Problem> problem;
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
    if (failure) {
        const auto text = uploadFailureText(failure);
        problem = Problem{text, text};
    }
    if (problem) {
        context.log->record(
            {B2LogLevel::error, "transfer", fmt::format("Upload of {} failed", transfer.displayName), problem->detail});
        run.setState(Transfer::State::failed(problem->text));
        co_return;
    }
    if (context.resumeStore && *transfer.resumableFileID)
        context.resumeStore->remove(**transfer.resumableFileID);
    transfer.resumableFileID = std::nullopt;
    transfer.bytesTransferred = *transfer.byteCount;
    run.setState(Transfer::State::finished());
    context.log->record({B2LogLevel::notice, "transfer", "Uploaded " + transfer.displayName, transfer.remoteName});
}
