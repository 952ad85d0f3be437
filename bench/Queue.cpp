// bench_queue BUCKET STATE PATH…: uploads files and folders through the program's own queue, without a window.
// STATE is the directory of the log and of the uploads that can be resumed: a file that an earlier run with the same
// STATE began is resumed. Prints each row's name and state; succeeds when all are finished.

#include "bench/BenchClient.h"

#include "accounts/B2Session.h"
#include "foundation/MainExecutor.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "transfers/TransferQueue.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

class QueueRun {
public:
    explicit QueueRun(const std::filesystem::path& state)
        : state_(state)
        , log_(settings_, state / "log")
    {
        ActivityLog::setShared(&log_);
    }
    ~QueueRun() { ActivityLog::setShared(nullptr); }
    QueueRun(const QueueRun&) = delete;
    QueueRun& operator=(const QueueRun&) = delete;

    Task<> upload(std::string bucketName, std::vector<std::filesystem::path> paths)
    {
        store_ = co_await ResumeStore::open(state_ / "uploads.sqlite");
        queue_.setResumeStore(store_.get());
        const auto client = makeBenchClient();
        auto authorization = co_await client->authorized();
        bucket_ = (co_await client->listBuckets(std::move(bucketName))).at(0);
        session_ = std::make_shared<B2Session>(StoredKey{}, client, std::move(authorization));
        for (auto& path : paths) {
            if (!co_await resume(path.filename().string()))
                queue_.upload({std::move(path)}, bucket_, "", session_);
        }
        co_await allEnded(paths.size());
        if (store_)
            co_await store_->flush();
    }

    int exitCode() const
    {
        bool isRight = queue_.refusals->empty();
        for (const auto& sentence : *queue_.refusals)
            std::fprintf(stderr, "%s\n", sentence.c_str());
        for (const auto& transfer : *queue_.transfers) {
            const bool isFinished = *transfer->state == Transfer::State::finished();
            std::printf("%s %s\n", isFinished ? "finished" : "failed", transfer->remoteName.c_str());
            isRight = isRight && isFinished;
        }
        return isRight ? 0 : 1;
    }

private:
    /// Resumes an upload that an earlier run began under the name, or finds that it was finished.
    Task<bool> resume(std::string name)
    {
        std::vector<B2FileVersion> versions;
        auto unfinished = session_->client->allUnfinishedLargeFiles({.bucketID = bucket_.bucketID, .namePrefix = name});
        while (auto file = co_await unfinished.next())
            versions.push_back(std::move(*file));
        B2ListFileNamesRequest request{.bucketID = bucket_.bucketID, .startFileName = name, .maxFileCount = 1};
        for (auto& file : (co_await session_->client->listFileNames(std::move(request))).files)
            versions.push_back(std::move(file));
        for (const auto& file : versions) {
            const auto record = store_ && file.fileID ? store_->upload(*file.fileID) : std::nullopt;
            if (record && !co_await queue_.resume(*record, bucket_, session_))
                co_return true;
        }
        co_return false;
    }

    Task<> allEnded(std::size_t count)
    {
        OneShot<void> done;
        const auto look = [this, done, count] {
            if (queue_.transfers->size() + queue_.refusals->size() >= count && queue_.activeTransfers().empty())
                done.set();
        };
        QObject::connect(&queue_, &TransferQueue::uploadEnded, &queue_, look, Qt::QueuedConnection);
        QObject::connect(&queue_, &Observable::changed, &queue_, look);
        look();
        co_await done.wait();
    }

    std::filesystem::path state_;
    Settings settings_{std::filesystem::path()};
    ActivityLog log_;
    DownloadDestination destination_{settings_};
    std::unique_ptr<ResumeStore> store_; ///< Outlives the queue.
    TransferQueue queue_{settings_, log_, destination_};
    B2Bucket bucket_;
    std::shared_ptr<B2Session> session_;
};

} // namespace

int main(int count, char** words)
{
    QCoreApplication application(count, words);
    if (count < 4)
        return 2;
    QueueRun run(words[2]);
    bool hasFailed = false;
    spawn(MainExecutor::shared(), run.upload(words[1], {words + 3, words + count}),
        [&](const std::exception_ptr& failure) {
            hasFailed = failure != nullptr;
            if (failure)
                std::fprintf(stderr, "%s\n", describe(failure).c_str());
            QCoreApplication::quit();
        });
    QCoreApplication::exec();
    return hasFailed ? 1 : run.exitCode();
}
