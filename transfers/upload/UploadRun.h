#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/B2Session.h"
#include "async/Task.h"
#include "transfers/Transfer.h"

#include <filesystem>
#include <memory>

class ActivityLog;
class ResumeStore;
class Settings;

/// Everything one upload needs, kept for a retry. Source and name are those of its record.
struct UploadOrder {
    std::filesystem::path source;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
};

/// Shared by all uploads.
struct UploadContext {
    Settings* settings = nullptr;       ///< Lives as long as the application.
    ActivityLog* log = nullptr;         ///< Lives as long as the application.
    ResumeStore* resumeStore = nullptr; ///< Null without one; otherwise lives as long as the application.
};

/// Uploads one file, whole or from `largeFileThreshold` on in parts, and sets the record's state and log lines. A
/// record with a resumable file id resumes that large file. Never throws; a stop is a normal end.
Task<> runUpload(UploadOrder order, TransferRun run, UploadContext context);
