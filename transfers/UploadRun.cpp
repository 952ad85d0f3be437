#include "B2Kit/B2Client.h"
#include "B2Kit/B2RetryPolicy.h"
#include "async/Background.h"
#include "foundation/ActivityLog.h"
#include "transfers/FailureTexts.h"
#include "transfers/TransferRun.h"

#include <fmt/format.h>

namespace {

struct InspectedFile {
    std::expected<UploadSource, std::string> source;
    std::string contentType;
};

/// Sends the file.
/// @returns why it did not reach the service as it is on the disk, or nothing when it did.
Task<std::optional<std::string>> send(const UploadOrder& order, const TransferRun& run)
{
    Transfer& transfer = *run.transfer;
    run.setState(Transfer::State::running());
    co_await checkCancelled();
    const auto inspected = co_await runInBackground(
        [path = order.source] { return InspectedFile{inspectUploadSource(path), contentTypeFor(path)}; });
    co_await checkCancelled();
    if (!inspected.source)
        co_return inspected.source.error();
    const UploadSource& source = *inspected.source;
    transfer.byteCount = source.byteCount;
    transfer.transferStartedAt = Transfer::Clock::now();
    transfer.bytesAtStart = *transfer.bytesTransferred;

    B2UploadFileRequest request{.bucketID = order.bucket.bucketID,
        .fileName = transfer.remoteName,
        .contentType = inspected.contentType,
        .body = B2FileRange{source.path, 0, source.byteCount},
        .modificationDate = source.modificationDate,
        .onProgress = progressOf(run)};
    std::exception_ptr failure;
    try {
        const auto client = order.session->client;
        co_await client->uploadFile(std::move(request));
    } catch (...) {
        failure = std::current_exception();
    }
    co_await checkCancelled();
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);

    // Hash and body are read one after the other: what was written meanwhile makes them differ, or is missing.
    const bool isSame = co_await runInBackground([source] { return isUnchanged(source); });
    if (isSame && !failure)
        co_return std::nullopt;
    if (isSame || (failure && isRetryableConnectionFailure(failure)))
        co_return uploadFailureText(failure);
    const auto name = source.path.filename().string();
    if (failure)
        co_return fmt::format("\"{}\" changed or went away while it was being uploaded, so nothing was stored of it. "
                              "Upload it again when nothing writes to it any more.",
            name);
    co_return fmt::format("\"{}\" changed while it was being uploaded. B2 holds it as it was before; upload it again "
                          "to store what it holds now.",
        name);
}

} // namespace

Task<> runUpload(UploadOrder order, TransferRun run, UploadContext context)
{
    static_cast<void>(context);
    Transfer& transfer = *run.transfer;
    std::optional<std::string> problem;
    std::exception_ptr failure;
    try {
        problem = co_await send(order, run);
    } catch (...) {
        failure = std::current_exception();
    }
    const bool wasStopped = (co_await currentStopToken()).stop_requested();
    if (wasStopped || (failure && isCancellation(failure))) {
        run.setState(Transfer::State::cancelled());
        co_return;
    }
    if (failure)
        problem = uploadFailureText(failure);
    if (problem) {
        ActivityLog::shared().record(
            {B2LogLevel::error, "transfer", fmt::format("Upload of {} failed", transfer.displayName), problem});
        run.setState(Transfer::State::failed(*problem));
        co_return;
    }
    transfer.bytesTransferred = *transfer.byteCount;
    run.setState(Transfer::State::finished());
    ActivityLog::shared().record(
        {B2LogLevel::notice, "transfer", "Uploaded " + transfer.displayName, transfer.remoteName});
}
