#include "transfers/download/FolderDownload.h"

#include "B2Kit/B2Client.h"
#include "async/Background.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/TransferFailure.h"
#include "transfers/download/FolderLanding.h"
#include "transfers/download/LocalNames.h"
#include "transfers/folders/FolderTally.h"

#include <fmt/format.h>

#include <set>

namespace {

/// A file waiting for its turn. Kept small: there may be very many.
struct ListedFile {
    std::optional<std::string> fileID;
    std::string relativePath; ///< The name after the prefix, not checked yet.
    std::int64_t size = 0;
    std::int64_t uploadTimestamp = 0; ///< Milliseconds since 1970.

    std::chrono::system_clock::time_point uploadDate() const
    {
        return std::chrono::system_clock::time_point(std::chrono::milliseconds(uploadTimestamp));
    }
};

/// Lists the current files under the prefix; the row's size grows with them.
Task<std::vector<ListedFile>> list(const FolderDownloadOrder& order, const TransferRun& run)
{
    constexpr std::size_t pageSize = 1000;
    Transfer& folder = *run.transfer;
    B2ListFileNamesRequest request{
        .bucketID = order.bucket.bucketID, .maxFileCount = static_cast<int>(pageSize), .prefix = folder.remoteName};
    auto names = order.session->client->allFileNames(std::move(request));
    std::vector<ListedFile> files;
    std::int64_t byteCount = 0;
    while (auto file = co_await names.next()) {
        if (file->isFolder() || file->isHideMarker() || file->isUnfinished())
            continue;
        if (!file->fileName.starts_with(folder.remoteName))
            continue;
        byteCount += file->contentLength;
        files.push_back({std::move(file->fileID), file->fileName.substr(folder.remoteName.size()), file->contentLength,
            file->uploadTimestamp});
        if (files.size() % pageSize == 0 && run.isCurrent())
            folder.byteCount = byteCount;
    }
    co_return files;
}

/// The state of a folder's run.
struct Run {
    FolderDownloadOrder order;
    TransferRun run;
    DownloadContext context;
    std::vector<ListedFile> files;
    std::shared_ptr<FolderLanding> landing;

    /// Returns how many files earlier attempts have saved.
    BytesFate savedBefore() const { return BytesFate::files(std::ssize(order.progress->done)); }
};

/// Opens the local folder, off the main thread.
/// @returns false when it cannot be opened: then the record has its last state.
Task<bool> openLanding(Run& self)
{
    FolderLanding::Parts parts{.destination = self.order.folder,
        .name = folderNameOf(*self.run.transfer),
        .earlierName = self.order.progress->localFolder,
        .landed = self.order.progress->landed,
        .markDirectory = self.context.markDirectory};
    if (!localName(parts.name)) {
        endAsFailed(self.run, *self.context.log, outsideFailure(self.run.transfer->remoteName),
            {.message = "Refused to download " + self.run.transfer->remoteName,
                .detail = "Its name would write outside the destination folder"});
        co_return false;
    }
    auto landing = co_await runInBackground([parts = std::move(parts)] { return FolderLanding::open(parts); });
    if (!landing) {
        auto failure = landing.error();
        failure.fate = self.savedBefore();
        endAsFailed(self.run, *self.context.log, failure);
        co_return false;
    }
    self.landing = std::move(*landing);
    if (self.landing->name() != folderNameOf(*self.run.transfer) && !self.order.progress->localFolder)
        self.context.log->record({B2LogLevel::notice, "transfer",
            fmt::format("Saving {} under another name", self.run.transfer->displayName),
            fmt::format("A file or a link of its name is in the destination folder, or the name is longer than the "
                        "disk takes. The folder is \"{}\".",
                self.landing->path().string())});
    self.order.progress->localFolder = self.landing->name();
    if (self.run.isCurrent())
        self.run.transfer->localPath = self.landing->path();
    co_return true;
}

/// Returns the files that an earlier attempt has saved in their present version. Checks the disk off the main thread.
Task<std::set<std::string>> doneBefore(const Run& self)
{
    std::vector<std::pair<std::string, FolderProgress::Done>> candidates;
    constexpr std::size_t batchSize = 1000;
    std::size_t looked = 0;
    for (const auto& file : self.files) {
        if (++looked % batchSize == 0)
            co_await yieldToOthers();
        const auto& progress = *self.order.progress;
        if (progress.isDone(file.relativePath, file.size, file.uploadDate()))
            candidates.emplace_back(file.relativePath, progress.done.at(file.relativePath));
    }
    if (candidates.empty())
        co_return std::set<std::string>();
    co_return co_await runInBackground([landing = self.landing, candidates = std::move(candidates)] {
        std::set<std::string> done;
        for (const auto& [path, what] : candidates) {
            if (landing->holds(what.landed, what.byteCount))
                done.insert(path);
        }
        return done;
    });
}

/// Keeps what a retry needs to know about the file, and counts it.
void keep(FolderTally& tally, FolderProgress& progress, const ListedFile& file, const Transfer& child)
{
    if (child.state->is(Transfer::State::Case::finished))
        progress.done.insert_or_assign(
            file.relativePath, FolderProgress::Done{file.size, file.uploadDate(), child.localPath->value_or("")});
    tally.countEnd(child, file.relativePath, file.size);
}

Task<> downloadFile(const Run& self, FolderTally& tally, const ListedFile& file)
{
    const auto& prefix = self.run.transfer->remoteName;
    if (!guardedName(file.relativePath)) {
        self.context.log->record({B2LogLevel::error, "transfer", "Refused to download " + prefix + file.relativePath,
            "Its name would write outside the destination folder"});
        tally.fail(file.relativePath, "Its name would write outside the destination folder.", file.size);
        co_await tally.breathe();
        co_return;
    }
    const auto child = std::make_shared<Transfer>(Transfer::Kind::download, prefix + file.relativePath, file.size);
    child->parent = self.run.transfer;
    child->bucket = self.order.bucket;
    tally.begin(child);
    DownloadOrder order{.file = {.fileID = file.fileID, .fileName = child->remoteName, .contentLength = file.size},
        .bucket = self.order.bucket,
        .session = self.order.session,
        .folder = self.order.folder,
        .landing = self.landing,
        .relativePath = file.relativePath};
    co_await runDownload(std::move(order), {child, child->attempt()}, self.context);
    keep(tally, *self.order.progress, file, *child);
}

/// Lists the files and opens the local folder.
/// @returns false when there is nothing to do: then the record has its last state.
Task<bool> begin(Run& self, FolderTally& tally)
{
    self.files = co_await list(self.order, self.run);
    self.run.transfer->isScanning = false;
    co_await checkCancelled();
    std::int64_t byteCount = 0;
    for (const auto& file : self.files)
        byteCount += file.size;
    tally.setTotal(static_cast<int>(self.files.size()), byteCount);
    if (self.files.empty()) {
        tally.finishEmpty("Nothing to download, the folder is empty");
        co_return false;
    }
    co_return co_await openLanding(self);
}

Task<> downloadAll(Run& self, FolderTally& tally)
{
    const auto done = co_await doneBefore(self);
    for (const auto& file : self.files) {
        co_await checkCancelled();
        if (done.contains(file.relativePath)) {
            tally.completeWithoutMoving(file.size);
            co_await tally.breathe();
        } else {
            co_await downloadFile(self, tally, file);
        }
    }
}

} // namespace

Task<> runFolderDownload(FolderDownloadOrder order, TransferRun run, DownloadContext context)
{
    run.setState(Transfer::State::running());
    run.transfer->isScanning = true;
    FolderTally tally(run, *context.log);
    Run self{.order = std::move(order), .run = run, .context = std::move(context), .files = {}, .landing = {}};
    std::exception_ptr failure;
    bool hasBegun = false;
    try {
        hasBegun = co_await begin(self, tally);
        if (hasBegun)
            co_await downloadAll(self, tally);
    } catch (...) {
        failure = std::current_exception();
    }
    run.transfer->isScanning = false;
    // Removing the landing's note blocks, so it happens off the main thread.
    if (self.landing)
        co_await runInBackground([landing = std::move(self.landing)]() mutable { landing.reset(); });
    if ((co_await currentStopToken()).stop_requested())
        tally.stop();
    else if (failure)
        endAsFailed(run, *self.context.log, folderDownloadFailure(failure, self.savedBefore()));
    else if (hasBegun)
        tally.finish(run.transfer->localPath->value_or("").string());
}
