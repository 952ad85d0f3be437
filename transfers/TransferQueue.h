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

/// The one queue of downloads and uploads: what starts when, what a cancel does, what the log says.
///
/// Lives on the main thread and as long as the application. First come, first served, two at a time. A transfer that
/// fails stops no other; nothing is tried again here, because the client does that. Its end cancels nothing.
class TransferQueue final : public Observable {
    Q_OBJECT

public:
    static constexpr int maxConcurrent = 2;

    /// The work of one attempt. Runs on the main executor; sets the record's states from running to its end, and
    /// treats a stop as a normal end. What it throws becomes the record's failure.
    using Work = std::function<Task<>(TransferRun run)>;

    /// All outlive the queue and the work that it has started.
    /// @param markDirectory  where downloads of folders note what a kill would leave.
    TransferQueue(Settings& settings, ActivityLog& log, const DownloadDestination& destination,
        std::filesystem::path markDirectory = downloadMarkDirectory());

    /// All rows in the order of their coming. They go by `clearFinished` alone.
    Observed<std::vector<std::shared_ptr<Transfer>>> transfers{this};

    /// Why files that were asked for did not get a row, as sentences to show until `dismissRefusals`.
    Observed<std::vector<std::string>> refusals{this};

    /// Appends the record and starts its work when a slot is free.
    ///
    /// A retry of the record runs `work` again.
    void enqueue(std::shared_ptr<Transfer> transfer, Work work);

    /// Downloads the file, or all that a folder row stands for, into `DownloadDestination::current()` as it is now.
    void download(B2FileVersion file, B2Bucket bucket, std::shared_ptr<B2Session> session);

    /// Downloads many in their order, as above; returns at once and lets the window breathe between them.
    void download(std::vector<B2FileVersion> files, B2Bucket bucket, std::shared_ptr<B2Session> session);

    /// Uploads files and folders under names that begin with the prefix, in their order; returns at once.
    ///
    /// Each is looked at off the main thread first: what cannot be read and names that the service does not take are
    /// refused, the others go on. A folder is one row. A name that exists gets a new version.
    void upload(std::vector<std::filesystem::path> files, B2Bucket bucket, std::string prefix,
        std::shared_ptr<B2Session> session);

    /// Ends a waiting or running transfer; does nothing to any other. The slot of a running one is free when its work
    /// has returned, which takes moments.
    void cancel(const std::shared_ptr<Transfer>& transfer);

    /// Has a failed or cancelled record all that another attempt needs?
    bool canRetry(const Transfer& transfer) const;

    /// Queues the record again, in its row.
    void retry(const std::shared_ptr<Transfer>& transfer);

    /// Goes on with a large upload that an earlier run of the program began.
    /// @returns a sentence when its source is gone or cannot be read: then nothing is queued.
    Task<std::optional<std::string>> resume(
        ResumableUpload upload, B2Bucket bucket, std::shared_ptr<B2Session> session);

    /// Gives up the checksum pass that runs for the record, and for a folder every pass to come. Does nothing when no
    /// pass runs.
    void skipChecksum(const std::shared_ptr<Transfer>& transfer);

    /// Where started large uploads are remembered; null when there is no such place. Set once, before the first upload.
    void setResumeStore(ResumeStore* store) { uploadContext_.resumeStore = store; }

    /// Takes out every row in a terminal state.
    void clearFinished();

    void dismissRefusals() { refusals = {}; }

    /// Does the work of any record run, to its very end?
    bool isRunning() const { return running_ > 0; }

    /// The records that wait or run.
    std::vector<std::shared_ptr<Transfer>> activeTransfers() const;

    /// The started large files that belong to active records.
    std::set<std::string> inFlightFileIDs() const;

    /// Cancels everything and ends when all work has returned, so that no temporary file is left; for the end of the
    /// application.
    Task<> stopAll();

Q_SIGNALS:
    /// `isRunning` has changed.
    void runningChanged();

    /// An upload came to its end: the listing of its bucket may be another one.
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
    void tellUploadEnd(const TransferRun& run);
    void queueFolder(
        std::filesystem::path folder, std::string name, B2Bucket bucket, std::shared_ptr<B2Session> session);
    void queueFile(const UploadSource& source, std::string name, B2Bucket bucket, std::shared_ptr<B2Session> session);
    void refuse(std::string message, BytesOperation operation, const BytesFailure& failure);

    ActivityLog& log_;
    const DownloadDestination& destination_;
    DownloadContext downloadContext_;
    UploadContext uploadContext_;
    std::map<QUuid, Work> works_; ///< Of every row, for a retry.
    std::deque<Pending> pending_;
    std::map<QUuid, Started> tasks_;
    std::map<QUuid, Started> ending_; ///< Cancelled, but their work has not returned.
    int running_ = 0;
    std::vector<OneShot<void>> drains_;
    TaskScope scope_;
};
