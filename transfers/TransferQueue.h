#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2File.h"
#include "accounts/B2Session.h"
#include "async/Group.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"
#include "transfers/Transfer.h"
#include "transfers/download/DownloadDestination.h"
#include "transfers/download/DownloadMark.h"
#include "transfers/download/DownloadRun.h"
#include "transfers/resume/ResumeStore.h"
#include "transfers/upload/UploadRun.h"
#include "transfers/upload/UploadSource.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class ActivityLog;
class Settings;

/// The queue of all downloads and uploads. Decides what starts when, what a cancel does and what the log says.
///
/// Lives on the main thread and as long as the application. First come, first served, two at a time. A failed
/// transfer stops no other. The client retries, not the queue. Destroying the queue cancels nothing.
class TransferQueue final : public Observable {
    Q_OBJECT

public:
    static constexpr int maxConcurrent = 2;

    /// The work of one attempt. Runs on the main executor, sets the record's states from running to its end, and
    /// treats a stop as a normal end. An exception becomes the record's failure.
    using Work = std::function<Task<>(TransferRun run)>;

    /// All references outlive the queue and the work it has started.
    /// @param markDirectory  where folder downloads note what a killed process would leave behind.
    TransferQueue(Settings& settings, ActivityLog& log, const DownloadDestination& destination,
        std::filesystem::path markDirectory = downloadMarkDirectory());

    /// All rows, oldest first. Only `clearFinished` removes them.
    Observed<std::vector<std::shared_ptr<Transfer>>> transfers{this};

    /// Why requested files did not get a row, as sentences to show until `dismissRefusals`.
    Observed<std::vector<std::string>> refusals{this};

    /// Appends the record and starts its work when a slot is free.
    ///
    /// A retry of the record runs `work` again.
    void enqueue(std::shared_ptr<Transfer> transfer, Work work);

    /// Downloads the file or folder into the present `DownloadDestination::current()`.
    void download(B2FileVersion file, B2Bucket bucket, std::shared_ptr<B2Session> session);

    /// Downloads many, in order. Returns at once and keeps the window responsive.
    void download(std::vector<B2FileVersion> files, B2Bucket bucket, std::shared_ptr<B2Session> session);

    /// Uploads files and folders, in order, under names that begin with the prefix. Returns at once.
    ///
    /// Each is checked off the main thread first: unreadable files and names that the service does not take are
    /// refused, the others go on. A folder is one row. An existing name gets a new version.
    void upload(std::vector<std::filesystem::path> files, B2Bucket bucket, std::string prefix,
        std::shared_ptr<B2Session> session);

    /// Cancels a waiting or running transfer; does nothing to any other. The slot of a running one becomes free when
    /// its work has returned.
    void cancel(const std::shared_ptr<Transfer>& transfer);

    /// Does a failed or cancelled record have all that another attempt needs?
    bool canRetry(const Transfer& transfer) const;

    /// Queues the record again, in its row.
    void retry(const std::shared_ptr<Transfer>& transfer);

    /// Resumes a large upload that an earlier run of the program began.
    /// @returns a sentence when its source is gone or cannot be read: then nothing is queued.
    Task<std::optional<std::string>> resume(
        ResumableUpload upload, B2Bucket bucket, std::shared_ptr<B2Session> session);

    /// Skips the running checksum pass of the record, and for a folder all later ones. Does nothing when no pass runs.
    void skipChecksum(const std::shared_ptr<Transfer>& transfer);

    /// Sets where started large uploads are remembered, once, before the first upload. Null for nowhere.
    void setResumeStore(ResumeStore* store) { uploadContext_.resumeStore = store; }

    /// Removes every row in a terminal state.
    void clearFinished();

    void dismissRefusals() { refusals = {}; }

    /// Is the work of any record still running, even after a cancel?
    bool isRunning() const { return running_ > 0; }

    /// The records that wait or run.
    std::vector<std::shared_ptr<Transfer>> activeTransfers() const;

    /// The started large files that belong to active records.
    std::set<std::string> inFlightFileIDs() const;

    /// Cancels everything and ends when all work has returned, so that no temporary file is left. For the end of the
    /// application.
    Task<> stopAll();

Q_SIGNALS:
    /// `isRunning` has changed.
    void runningChanged();

    /// An upload has ended, so the listing of its bucket may have changed.
    void uploadEnded(const std::shared_ptr<Transfer>& transfer, bool didFinish);

private:
    struct Pending {
        TransferRun run;
        Work work;
    };
    struct Started {
        int attempt;
        SpawnedTask task;
    };

    static Task<> carryOut(
        QPointer<TransferQueue> queue, TransferRun run, Work work, std::optional<OneShot<void>> previousEnd);
    static Task<> queueDownloads(QPointer<TransferQueue> queue, std::vector<B2FileVersion> files, B2Bucket bucket,
        std::shared_ptr<B2Session> session);
    static Task<> queueUploads(QPointer<TransferQueue> queue, std::vector<std::filesystem::path> files, B2Bucket bucket,
        std::string prefix, std::shared_ptr<B2Session> session);

    void submit(const std::shared_ptr<Transfer>& transfer);
    void startNext();
    void ended(const TransferRun& run);
    void announceUploadEnd(const TransferRun& run);
    void queueFolder(
        std::filesystem::path folder, std::string name, B2Bucket bucket, std::shared_ptr<B2Session> session);
    void queueFile(const UploadSource& source, std::string name, B2Bucket bucket, std::shared_ptr<B2Session> session);
    void refuse(std::string message, BytesOperation operation, const BytesFailure& failure);

    ActivityLog& log_;
    const DownloadDestination& destination_;
    DownloadContext downloadContext_;
    UploadContext uploadContext_;
    std::map<QUuid, Work> works_; ///< The work of every row, for a retry.
    std::deque<Pending> pending_;
    std::map<QUuid, Started> tasks_;
    std::map<QUuid, Started> ending_; ///< Cancelled, but their work has not returned.
    int running_ = 0;
    std::vector<OneShot<void>> drains_;
    TaskScope scope_;
};
