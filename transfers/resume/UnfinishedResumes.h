#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/B2Session.h"
#include "async/Task.h"
#include "transfers/resume/InterruptedUploads.h"

#include <QObject>

#include <memory>
#include <optional>
#include <string>
#include <vector>

class ActivityLog;
class Notices;
class ResumeStore;
class Settings;
class TransferQueue;

/// Resumes unfinished large uploads whose source is known on this machine, and posts a notice about those that the
/// last run of the program left.
///
/// Lives on the main thread. Nothing is resumed by itself.
class UnfinishedResumes final : public QObject {
public:
    static constexpr auto noticeID = "interruptedUploads";

    /// All outlive this.
    UnfinishedResumes(TransferQueue& queue, Settings& settings, ActivityLog& log, Notices& notices);

    /// Takes the store, once at the start of the program. Null where there is none: then nothing can be resumed.
    void open(ResumeStore* store);

    /// Is it known here which file the unfinished upload comes from?
    bool canResume(const std::string& fileID) const;

    /// Queues the rest of an unfinished upload.
    /// @returns a sentence when it cannot be resumed: then nothing is queued.
    Task<std::optional<std::string>> resume(
        std::string fileID, std::optional<B2Bucket> bucket, std::shared_ptr<B2Session> session);

    /// Forgets an upload that was cancelled at the service.
    void forget(const std::string& fileID);

    /// Posts a notice about the uploads in these buckets that the last run left. Each is mentioned once.
    void announceInterrupted(const std::vector<B2Bucket>& buckets);

private:
    bool isOpen(const std::string& fileID) const;
    void dismissOutdated();

    TransferQueue& queue_;
    Settings& settings_;
    ActivityLog& log_;
    Notices& notices_;
    ResumeStore* store_ = nullptr;
    InterruptedUploads interrupted_;
};
