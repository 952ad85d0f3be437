#include "transfers/resume/ResumeStore.h"

#include "B2Kit/pipeline/B2OSLogSink.h"
#include "async/Background.h"
#include "transfers/resume/ResumeDatabase.h"

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <ranges>
#include <utility>

namespace {

/// Reports to the system log only: the upload itself goes on, and the user can do nothing about it.
void logToSystem(const std::string& message, const std::string& reason)
{
    B2OSLogSink("com.zantro.kestrovan", "transfer").log({B2LogLevel::warning, "transfer", message, reason});
}

} // namespace

/// The records in memory, for the main thread, and the file, which another thread writes in the order of the changes.
/// The writer shares ownership, so that pending changes are written even after the store is gone.
class ResumeStore::Database : public std::enable_shared_from_this<Database> {
public:
    /// Blocks.
    explicit Database(const std::filesystem::path& path)
        : file_(path)
    {
        for (auto& upload : file_.uploads())
            uploads.emplace(upload.fileID, upload);
    }

    std::map<std::string, ResumableUpload> uploads;

    void later(std::function<void(ResumeDatabase&)> change)
    {
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(std::move(change));
            if (std::exchange(isBusy_, true))
                return;
        }
        WorkerPool::blocking().submit(&Database::run, new std::shared_ptr<Database>(shared_from_this()));
    }

private:
    static void run(void* context)
    {
        const std::unique_ptr<std::shared_ptr<Database>> self(static_cast<std::shared_ptr<Database>*>(context));
        (*self)->writePending();
    }

    void writePending()
    {
        std::unique_lock lock(mutex_);
        while (!waiting_.empty()) {
            const auto change = std::move(waiting_.front());
            waiting_.pop_front();
            lock.unlock();
            try {
                change(file_);
            } catch (const std::exception& failure) {
                logToSystem("Could not save which uploads can be resumed", failure.what());
            }
            lock.lock();
        }
        isBusy_ = false;
    }

    ResumeDatabase file_; ///< Used by one run at a time.
    std::mutex mutex_;
    std::deque<std::function<void(ResumeDatabase&)>> waiting_;
    bool isBusy_ = false;
};

Task<std::unique_ptr<ResumeStore>> ResumeStore::open(std::filesystem::path file)
{
    auto openDatabase = [file = std::move(file)]() -> std::shared_ptr<Database> {
        try {
            return std::make_shared<Database>(file);
        } catch (const std::exception& failure) {
            logToSystem(
                "Uploads cannot be resumed in a later run: cannot use \"" + file.string() + '"', failure.what());
            return nullptr;
        }
    };
    auto database = co_await runInBackground(std::move(openDatabase));
    std::unique_ptr<ResumeStore> store;
    if (database)
        store.reset(new ResumeStore(std::move(database)));
    co_return std::move(store);
}

ResumeStore::ResumeStore(std::shared_ptr<Database> database)
    : database_(std::move(database))
{
}

ResumeStore::~ResumeStore() = default;

void ResumeStore::record(ResumableUpload upload)
{
    if (upload.source.path.empty() || database_->uploads.contains(upload.fileID))
        return;
    upload.startedAt = std::chrono::system_clock::now();
    database_->uploads.emplace(upload.fileID, upload);
    database_->later([upload = std::move(upload)](ResumeDatabase& file) { file.add(upload); });
}

std::optional<ResumableUpload> ResumeStore::upload(const std::string& fileID) const
{
    const auto found = database_->uploads.find(fileID);
    return found == database_->uploads.end() ? std::nullopt : std::optional(found->second);
}

std::vector<ResumableUpload> ResumeStore::uploads() const
{
    const auto values = std::views::values(database_->uploads);
    return {values.begin(), values.end()};
}

void ResumeStore::remove(const std::string& fileID)
{
    if (database_->uploads.erase(fileID) > 0)
        database_->later([fileID](ResumeDatabase& file) { file.remove(fileID); });
}

Task<> ResumeStore::flush()
{
    const OneShot<void> written;
    database_->later([written](ResumeDatabase&) { written.set(); });
    co_await written.wait();
}
