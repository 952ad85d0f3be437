#include "transfers/upload/FolderUpload.h"

#include "async/Background.h"
#include "async/Group.h"
#include "foundation/MainExecutor.h"
#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/TransferFailure.h"
#include "transfers/folders/FolderTally.h"
#include "transfers/upload/FolderScan.h"

#include <fmt/format.h>

#include <algorithm>
#include <ranges>

namespace {

constexpr auto noEmptyFolders = "B2 stores name prefixes rather than folders, so an empty folder cannot exist there";

Task<> showFound(std::weak_ptr<Transfer> folder, int attempt, std::int64_t byteCount)
{
    const auto transfer = folder.lock();
    if (transfer && transfer->attempt() == attempt && *transfer->isScanning)
        transfer->byteCount = byteCount;
    co_return;
}

/// Scans the folder off the main thread; the row's size grows with the files found.
Task<FolderScan> scan(const std::filesystem::path& folder, const TransferRun& run)
{
    run.transfer->isScanning = true;
    // Held weakly: the record must not be destroyed on another thread.
    const auto onFound = [transfer = std::weak_ptr(run.transfer), attempt = run.attempt](std::int64_t byteCount) {
        spawn(MainExecutor::shared(), showFound(transfer, attempt, byteCount));
    };
    auto found =
        co_await runInBackground([folder, prefix = run.transfer->remoteName, stop = co_await currentStopToken(),
                                     onFound] { return scanFolder(folder, prefix, stop, onFound); });
    run.transfer->isScanning = false;
    co_return found;
}

/// Describes the failure of a folder that could not be read: the one being sent or one below it.
BytesFailure unreadableFailure(const FileProblem& folder, const FolderProgress& progress)
{
    const auto isBelow = [prefix = folder.relativePath.empty() ? std::string() : folder.relativePath + '/'](
                             const auto& file) { return file.first.starts_with(prefix); };
    return {
        .cause = folder.reason, .fate = BytesFate::files(std::ranges::count_if(progress.done, isBelow)), .advice = {}};
}

/// Logs the items that are not sent.
/// @param what  the end of the line: "3 empty folders".
/// @param before  the text above the names.
void logLeftOut(ActivityLog& log, const std::string& folderName, const LeftOut& items, const std::string& what,
    std::string before = {})
{
    constexpr std::size_t maxNamed = 20;
    auto detail = std::move(before);
    for (const auto& item : items.named | std::views::take(maxNamed))
        detail += (detail.empty() ? "" : "\n") + singleLine(item.relativePath);
    if (const auto rest = items.count - static_cast<std::int64_t>(maxNamed); rest > 0)
        detail += fmt::format("\n… and {} more", rest);
    log.record(
        {B2LogLevel::notice, "transfer", fmt::format("Left out of {}: {}", folderName, what), std::move(detail)});
}

/// Reports items that are not files and so are not sent: the user may take a link for a file.
void leaveOut(FolderTally& tally, ActivityLog& log, const std::string& folderName, const FolderScan& scan)
{
    if (const auto& items = scan.passedOver; items.count > 0) {
        logLeftOut(log, folderName, items,
            countText(items.count, "item that is not a file, such as a link or a pipe",
                "items that are not files, such as links or pipes"));
        tally.leaveOut(items, "They are links, pipes and the like, not files, and are not sent.");
    }
    if (const auto& items = scan.emptyFolders; items.count > 0) {
        logLeftOut(log, folderName, items, countText(items.count, "empty folder", "empty folders"), noEmptyFolders);
        tally.leaveOut(items, "They are empty folders, which cannot be stored in a bucket.");
    }
}

/// Shows the contents of the folder.
/// @returns false when there are none: then the record has its last state.
bool begin(FolderTally& tally, ActivityLog& log, const TransferRun& run, const FolderScan& scan,
    const FolderProgress& progress)
{
    if (!scan.unreadableFolders.empty() && scan.unreadableFolders.front().relativePath.empty()) {
        endAsFailed(run, log, unreadableFailure(scan.unreadableFolders.front(), progress));
        return false;
    }
    const auto name = folderNameOf(*run.transfer);
    const auto fileCount = scan.files.size() + scan.refusedFiles.size();
    log.record({B2LogLevel::info, "transfer",
        fmt::format("Scanned {}: {}, {}", name, countText(static_cast<std::int64_t>(fileCount), "file", "files"),
            sizeText(scan.byteCount)),
        {}});
    leaveOut(tally, log, name, scan);
    tally.setTotal(static_cast<int>(fileCount + scan.unreadableFolders.size()), scan.byteCount);
    if (fileCount + scan.unreadableFolders.size() == 0) {
        tally.finishEmpty(scan.passedOver.count == 0
                ? "Nothing to upload, the folder is empty"
                : "Nothing to upload, the folder holds only links and the like, which are not sent",
            noEmptyFolders);
        return false;
    }
    return true;
}

/// Counts the items that the scan refused.
Task<> countRefused(FolderTally* tally, ActivityLog* log, const FolderScan* scan, const FolderProgress* progress)
{
    auto problems = scan->refusedFiles;
    for (const auto& folder : scan->unreadableFolders)
        problems.push_back(
            {folder.relativePath, failureText(BytesOperation::upload, unreadableFailure(folder, *progress))});
    for (const auto& problem : problems) {
        log->record(
            {B2LogLevel::error, "transfer", fmt::format("Upload of {} failed", problem.relativePath), problem.reason});
        tally->fail(problem.relativePath, problem.reason, 0);
        co_await tally->breathe();
    }
}

/// Returns the record for a file: that of an interrupted attempt when it can be resumed.
std::shared_ptr<Transfer> childFor(const FoundFile& file, const FolderUploadOrder& order, const TransferRun& run)
{
    auto& interrupted = order.progress->interrupted;
    if (const auto known = interrupted.find(file.relativePath); known != interrupted.end()) {
        auto child = known->second;
        interrupted.erase(known);
        // The upload itself compares the stored parts with a file whose date has changed.
        if (*child->byteCount == file.size) {
            child->beginAgain();
            return child;
        }
    }
    const auto path = order.folder / file.relativePath;
    auto child =
        std::make_shared<Transfer>(Transfer::Kind::upload, run.transfer->remoteName + file.relativePath, file.size);
    child->parent = run.transfer;
    child->folderSkipChecksum = run.transfer->skipChecksum;
    child->bucket = order.bucket;
    child->localPath = path;
    child->sourceBookmark = SourceBookmark{path, file.size, file.modificationDate};
    return child;
}

/// Keeps what a retry needs to know about the file, and counts it.
void keep(FolderTally& tally, FolderProgress& progress, const FoundFile& file, const std::shared_ptr<Transfer>& child)
{
    if (child->state->is(Transfer::State::Case::finished))
        progress.done.insert_or_assign(file.relativePath, FolderProgress::Done{file.size, file.modificationDate});
    else if (fateOf(*child) != BytesFate::nothing())
        progress.interrupted.insert_or_assign(file.relativePath, child);
    tally.countEnd(*child, file.relativePath, file.size);
}

} // namespace

Task<> runFolderUpload(FolderUploadOrder order, TransferRun run, UploadContext context)
{
    run.setState(Transfer::State::running());
    const auto stop = co_await currentStopToken();
    const auto found = co_await scan(order.folder, run);
    FolderTally tally(run, *context.log);
    if (!stop.stop_requested() && !begin(tally, *context.log, run, found, *order.progress))
        co_return;

    if (!stop.stop_requested())
        co_await countRefused(&tally, context.log, &found, order.progress.get());
    std::optional<std::string> interrupted;
    for (const auto& file : found.files) {
        if (stop.stop_requested())
            break;
        if (order.progress->isDone(file.relativePath, file.size, file.modificationDate)) {
            tally.completeWithoutMoving(file.size);
            co_await tally.breathe();
            continue;
        }
        const auto child = childFor(file, order, run);
        tally.begin(child);
        UploadOrder upload{order.folder / file.relativePath, order.bucket, order.session};
        co_await runUpload(std::move(upload), {child, child->attempt()}, context);
        keep(tally, *order.progress, file, child);
        if (*child->resumableFileID && child->state->is(Transfer::State::Case::cancelled))
            interrupted = file.relativePath;
    }
    if (stop.stop_requested())
        tally.stop(interrupted);
    else
        tally.finish(run.transfer->remoteName);
}
