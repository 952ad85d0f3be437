// How files enter the queue: requests become rows or refusals.

#include "async/Background.h"
#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/runs/BytesFate.h"
#include "transfers/TransferQueue.h"
#include "transfers/download/FolderDownload.h"
#include "transfers/upload/FolderUpload.h"
#include "transfers/upload/UploadSource.h"

#include <QPointer>

#include <fmt/format.h>

#include <algorithm>
#include <span>

namespace {

struct CheckedItem {
    std::filesystem::path path;
    bool isFolder = false;
    std::expected<std::string, BytesFailure> name;
    std::expected<UploadSource, BytesFailure> source; ///< Of a file.
};

CheckedItem checked(const std::filesystem::path& path, const std::string& prefix)
{
    std::error_code error;
    auto name = uploadName(prefix, path);
    if (std::filesystem::is_directory(path, error))
        return {.path = path, .isFolder = true, .name = std::move(name), .source = {}};
    return {.path = path, .name = std::move(name), .source = inspectUploadSource(path)};
}

std::vector<CheckedItem> checkedAll(const std::vector<std::filesystem::path>& paths, const std::string& prefix)
{
    std::vector<CheckedItem> all;
    for (const auto& path : paths)
        all.push_back(checked(path, prefix));
    return all;
}

} // namespace

void TransferQueue::download(B2FileVersion file, B2Bucket bucket, std::shared_ptr<B2Session> session)
{
    if (file.isHideMarker()) {
        refuse("Download of " + file.fileName + " refused", BytesOperation::download,
            {.cause = fmt::format("\"{}\" is a hide marker, which has no content.", file.fileName),
                .fate = BytesFate::nothing(),
                .advice = {}});
        return;
    }
    if (file.isFolder()) {
        auto folder = std::make_shared<Transfer>(Transfer::Kind::download, file.fileName);
        folder->bucket = bucket;
        folder->isScanning = true;
        FolderDownloadOrder order{
            .bucket = std::move(bucket), .session = std::move(session), .folder = destination_.current()};
        enqueue(std::move(folder), [order = std::move(order), context = downloadContext_](TransferRun run) {
            return runFolderDownload(order, std::move(run), context);
        });
        return;
    }
    auto transfer = std::make_shared<Transfer>(Transfer::Kind::download, file.fileName, file.contentLength);
    transfer->bucket = bucket;
    DownloadOrder order{std::move(file), std::move(bucket), std::move(session), destination_.current()};
    enqueue(std::move(transfer), [order = std::move(order), context = downloadContext_](TransferRun run) {
        return runDownload(order, std::move(run), context);
    });
}

void TransferQueue::download(std::vector<B2FileVersion> files, B2Bucket bucket, std::shared_ptr<B2Session> session)
{
    scope_.start(queueDownloads(this, std::move(files), std::move(bucket), std::move(session)));
}

Task<> TransferQueue::queueDownloads(QPointer<TransferQueue> queue, std::vector<B2FileVersion> files, B2Bucket bucket,
    std::shared_ptr<B2Session> session)
{
    // Adding 10,000 rows at once would block the window.
    constexpr int batchSize = 20;
    int count = 0;
    for (auto& file : files) {
        if (!queue)
            co_return;
        queue->download(std::move(file), bucket, session);
        if (++count % batchSize == 0) {
            co_await yieldToOthers();
            co_await checkCancelled();
        }
    }
}

void TransferQueue::upload(
    std::vector<std::filesystem::path> files, B2Bucket bucket, std::string prefix, std::shared_ptr<B2Session> session)
{
    scope_.start(queueUploads(this, std::move(files), std::move(bucket), std::move(prefix), std::move(session)));
}

Task<> TransferQueue::queueUploads(QPointer<TransferQueue> queue, std::vector<std::filesystem::path> files,
    B2Bucket bucket, std::string prefix, std::shared_ptr<B2Session> session)
{
    // In batches, so that the first rows show while the rest is inspected.
    constexpr std::size_t batchSize = 100;
    for (std::size_t begin = 0; begin < files.size(); begin += batchSize) {
        const auto first = files.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto count = static_cast<std::ptrdiff_t>(std::min(batchSize, files.size() - begin));
        std::vector batch(first, first + count);
        const auto results =
            co_await runInBackground([batch = std::move(batch), prefix] { return checkedAll(batch, prefix); });
        co_await checkCancelled();
        for (const auto& item : results) {
            if (!queue)
                co_return;
            if (!item.name || !item.source)
                queue->refuse(fmt::format("Upload of {} refused", item.path.filename().string()),
                    BytesOperation::upload, item.source ? item.name.error() : item.source.error());
            else if (item.isFolder)
                queue->queueFolder(item.path, *item.name + "/", bucket, session);
            else
                queue->queueFile(*item.source, *item.name, bucket, session);
        }
    }
}

void TransferQueue::queueFile(
    const UploadSource& source, std::string name, B2Bucket bucket, std::shared_ptr<B2Session> session)
{
    auto transfer = std::make_shared<Transfer>(Transfer::Kind::upload, std::move(name), source.byteCount);
    transfer->bucket = bucket;
    transfer->localPath = source.path;
    transfer->sourceBookmark = SourceBookmark{source.path, source.byteCount, source.modificationDate};
    enqueue(std::move(transfer),
        [order = UploadOrder{source.path, std::move(bucket), std::move(session)}, context = uploadContext_](
            TransferRun run) { return runUpload(order, std::move(run), context); });
}

void TransferQueue::queueFolder(
    std::filesystem::path folder, std::string name, B2Bucket bucket, std::shared_ptr<B2Session> session)
{
    auto transfer = std::make_shared<Transfer>(Transfer::Kind::upload, std::move(name));
    transfer->bucket = bucket;
    transfer->localPath = folder;
    transfer->isScanning = true;
    FolderUploadOrder order{.folder = std::move(folder), .bucket = std::move(bucket), .session = std::move(session)};
    enqueue(std::move(transfer), [order = std::move(order), context = uploadContext_](TransferRun run) {
        return runFolderUpload(order, std::move(run), context);
    });
}

Task<std::optional<std::string>> TransferQueue::resume(
    ResumableUpload upload, B2Bucket bucket, std::shared_ptr<B2Session> session)
{
    const QPointer<TransferQueue> self = this;
    const auto source =
        co_await runInBackground([path = upload.source.path] { return inspectUploadSource(path, BytesFate::parts()); });
    co_await checkCancelled();
    if (!self)
        co_return std::nullopt;
    if (!source)
        co_return failureText(BytesOperation::upload, source.error());
    if (inFlightFileIDs().contains(upload.fileID))
        co_return fmt::format("\"{}\" is being uploaded already.", upload.remoteName);

    auto transfer = std::make_shared<Transfer>(Transfer::Kind::upload, upload.remoteName, upload.byteCount);
    transfer->bucket = bucket;
    transfer->localPath = upload.source.path;
    transfer->resumableFileID = upload.fileID;
    transfer->sourceBookmark = upload.source;
    transfer->startedSHA1 = upload.sha1;
    enqueue(std::move(transfer),
        [order = UploadOrder{upload.source.path, std::move(bucket), std::move(session)}, context = uploadContext_](
            TransferRun run) { return runUpload(order, std::move(run), context); });
    co_return std::nullopt;
}
