#include "transfers/download/DownloadRun.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "async/Background.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/RowReports.h"
#include "transfers/TransferFailure.h"
#include "transfers/download/FolderLanding.h"
#include "transfers/download/LocalNames.h"

#include <fmt/format.h>

#include <variant>

namespace {

struct Skipped {
    std::filesystem::path existing;
};

struct Landed {
    std::filesystem::path path;
    B2FileMetadata metadata;
};

/// A refusal before anything was requested from the service.
struct Refused {
    BytesFailure failure;
    FailureLine line;
};

using Outcome = std::variant<Skipped, Landed, Refused>;

using Prepared = std::expected<PreparedDestination, BytesFailure>;

/// Decides the destination, off the main thread.
Task<Prepared> prepare(const DownloadOrder& order, const DownloadContext& context, std::string name)
{
    const auto policy = currentExistingFilePolicy(*context.settings);
    if (order.landing)
        co_return co_await runInBackground(
            [landing = order.landing, path = order.relativePath, policy, reserved = context.reserved] {
                return landing->prepare(path, policy, *reserved);
            });
    co_return co_await runInBackground(
        [folder = order.folder, name = std::move(name), policy, reserved = context.reserved] {
            return prepareDestination(folder, name, policy, *reserved);
        });
}

B2FileDestination destinationOf(const PreparedDestination& prepared)
{
    B2FileDestination destination{.path = prepared.choice.target, .folder = prepared.folder};
    if (!prepared.replaces)
        destination.otherPath = [numbers = prepared.numbers] { return numbers->takeNext(); };
    return destination;
}

/// Logs that a file is not saved under its own name.
void logOtherName(
    ActivityLog& log, const Transfer& transfer, const PreparedDestination& prepared, const std::string& name)
{
    const auto saved = prepared.choice.target.filename().string();
    if (prepared.isShortened)
        log.record({B2LogLevel::notice, "transfer", "Shortened the name of " + transfer.displayName,
            fmt::format(
                "It has {} bytes, more than this disk allows. The file is saved as \"{}\".", name.size(), saved)});
    if (prepared.isTwin)
        log.record({B2LogLevel::notice, "transfer", fmt::format("Saved {} under another name", transfer.displayName),
            fmt::format("This disk treats its name as that of another file here, which is kept. The file is saved as "
                        "\"{}\".",
                saved)});
}

/// Returns where the file was saved: it has a number when its name was taken on the way.
Task<std::filesystem::path> landedPath(
    const DownloadOrder& order, const PreparedDestination& prepared, const Transfer& transfer, ActivityLog& log)
{
    const auto place = prepared.numbers->place();
    if (place.path != prepared.choice.target)
        log.record({B2LogLevel::notice, "transfer", fmt::format("Saved {} under another name", transfer.displayName),
            fmt::format(
                "Its name was taken in the meantime. The file is saved as \"{}\".", place.path.filename().string())});
    if (order.landing)
        co_await runInBackground([landing = order.landing, place] { landing->noteLanded(place); });
    co_return place.path;
}

Task<Outcome> fetch(const DownloadOrder& order, const TransferRun& run, const DownloadContext& context)
{
    const Transfer& transfer = *run.transfer;
    const auto name = localName(order.file.fileName);
    if (!name)
        co_return Refused{outsideFailure(order.file.fileName),
            {.message = "Refused to download " + transfer.displayName, .detail = {}}};

    const auto prepared = co_await prepare(order, context, *name);
    co_await checkCancelled();
    if (!prepared)
        co_return Refused{prepared.error(), {}};
    if (prepared->choice.skippedFor)
        co_return Skipped{*prepared->choice.skippedFor};
    logOtherName(*context.log, transfer, *prepared, *name);

    run.setState(Transfer::State::running());
    noteTransferStart(*run.transfer);
    const auto client = order.session->client;
    auto destination = destinationOf(*prepared);
    Landed landed;
    if (order.file.fileID) {
        B2DownloadByIDRequest request{
            .fileID = *order.file.fileID, .onProgress = progressOf(run, *context.log), .onRetry = retryReportsOf(run)};
        landed.metadata = co_await client->downloadByIDToFile(std::move(request), std::move(destination));
    } else {
        B2DownloadByNameRequest request{.bucketName = order.bucket.bucketName,
            .fileName = order.file.fileName,
            .onProgress = progressOf(run, *context.log),
            .onRetry = retryReportsOf(run)};
        landed.metadata = co_await client->downloadByNameToFile(std::move(request), std::move(destination));
    }
    landed.path = co_await landedPath(order, *prepared, transfer, *context.log);
    co_return landed;
}

void end(const TransferRun& run, ActivityLog& log, const Outcome& outcome)
{
    Transfer& transfer = *run.transfer;
    if (const auto* refused = std::get_if<Refused>(&outcome)) {
        endAsFailed(run, log, refused->failure, refused->line);
    } else if (const auto* skipped = std::get_if<Skipped>(&outcome)) {
        transfer.localPath = skipped->existing;
        run.setState(Transfer::State::skipped());
        log.record({B2LogLevel::notice, "transfer",
            fmt::format("Skipped {}, already in the destination folder", transfer.displayName),
            skipped->existing.string()});
    } else if (const auto* landed = std::get_if<Landed>(&outcome)) {
        const auto& checksum = landed->metadata.checksum;
        transfer.localPath = landed->path;
        transfer.checksum = checksum;
        transfer.bytesTransferred = *transfer.byteCount;
        run.setState(Transfer::State::finished());
        if (const auto reason = checksum.skipReason())
            log.record({B2LogLevel::warning, "transfer",
                fmt::format("Downloaded {} - NOT checksum verified", transfer.displayName),
                fmt::format("{}. {}", sentence(*reason), landed->path.string())});
        else
            log.record({B2LogLevel::notice, "transfer",
                fmt::format("Downloaded {} - checksum verified", transfer.displayName), landed->path.string()});
    }
}

} // namespace

Task<> runDownload(DownloadOrder order, TransferRun run, DownloadContext context)
{
    std::optional<Outcome> outcome;
    std::exception_ptr failure;
    try {
        outcome = co_await fetch(order, run, context);
    } catch (...) {
        failure = std::current_exception();
    }
    if (run.isCurrent())
        run.transfer->partsInTrouble = {};
    // A child that was saved before the stop counts as done, and the next attempt at its folder leaves it out.
    const bool isChildDone = outcome && std::holds_alternative<Landed>(*outcome) && !run.transfer->parent.expired();
    const bool wasStopped = (co_await currentStopToken()).stop_requested() && !isChildDone;
    if (wasStopped || (failure && isCancellation(failure)))
        run.setState(Transfer::State::cancelled());
    else if (failure)
        endAsFailed(run, *context.log, downloadFailure(failure, run.transfer->displayName));
    else
        end(run, *context.log, *outcome);
}
