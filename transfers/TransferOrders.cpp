// How files come into the queue: what is asked for becomes rows or refusals.

#include "async/Background.h"
#include "foundation/Texts.h"
#include "transfers/TransferQueue.h"
#include "transfers/UploadSource.h"

#include <QPointer>

#include <fmt/format.h>

#include <algorithm>
#include <span>

namespace {

struct CheckedFile {
    std::filesystem::path path;
    std::expected<std::string, std::string> name;
    std::expected<UploadSource, std::string> source;
};

CheckedFile checked(const std::filesystem::path& path, const std::string& prefix)
{
    return {path, uploadName(prefix, path), inspectUploadSource(path)};
}

std::vector<CheckedFile> checkedAll(const std::vector<std::filesystem::path>& files, const std::string& prefix)
{
    std::vector<CheckedFile> all;
    for (const auto& path : files)
        all.push_back(checked(path, prefix));
    return all;
}

} // namespace

void TransferQueue::download(B2FileVersion file, B2Bucket bucket, std::shared_ptr<B2Session> session)
{
    if (file.isFolder() || file.isHideMarker()) {
        const auto what =
            file.isFolder() ? "is a folder. Folders can't be downloaded yet" : "is a hide marker, which has no content";
        refuse("Download of " + file.fileName + " refused",
            fmt::format("\"{}\" {}; nothing was saved.", file.fileName, what));
        return;
    }
    auto transfer = std::make_shared<Transfer>(Transfer::Kind::download, file.fileName, file.contentLength);
    transfer->bucket = bucket;
    DownloadOrder order{std::move(file), std::move(bucket), std::move(session), destination_.current()};
    enqueue(std::move(transfer), [order = std::move(order), context = context_](TransferRun run) {
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
    // 10,000 rows at once would hold the window for a moment.
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
    // In batches, so that the first rows show while the rest of many files is looked at.
    constexpr std::size_t batchSize = 100;
    for (std::size_t begin = 0; begin < files.size(); begin += batchSize) {
        const auto first = files.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto count = static_cast<std::ptrdiff_t>(std::min(batchSize, files.size() - begin));
        std::vector batch(first, first + count);
        const auto results =
            co_await runInBackground([batch = std::move(batch), prefix] { return checkedAll(batch, prefix); });
        co_await checkCancelled();
        for (const auto& file : results) {
            if (!queue)
                co_return;
            if (!file.name || !file.source) {
                queue->refuse(fmt::format("Upload of {} refused", file.path.filename().string()),
                    file.source ? file.name.error() : file.source.error());
                continue;
            }
            auto transfer = std::make_shared<Transfer>(Transfer::Kind::upload, *file.name, file.source->byteCount);
            transfer->bucket = bucket;
            transfer->localPath = file.path;
            transfer->sourceBookmark = SourceBookmark{file.path, file.source->byteCount, file.source->modificationDate};
            queue->enqueue(std::move(transfer),
                [order = UploadOrder{file.path, bucket, session}, context = queue->uploadContext_](
                    TransferRun run) { return runUpload(order, std::move(run), context); });
        }
    }
}
