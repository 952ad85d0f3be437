#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2File.h"
#include "accounts/B2Session.h"
#include "async/Task.h"
#include "transfers/Transfer.h"
#include "transfers/download/Destination.h"

#include <filesystem>
#include <memory>
#include <string>

class ActivityLog;
class FolderLanding;
class Settings;

/// Everything one download needs, kept for a retry.
struct DownloadOrder {
    B2FileVersion file;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    DownloadFolder folder;
    /// For a folder's child: where the files of the folder land, in place of `folder`, and its path below.
    std::shared_ptr<FolderLanding> landing = {};
    std::string relativePath = {};
};

/// Shared by all downloads.
struct DownloadContext {
    Settings* settings = nullptr; ///< Lives as long as the application.
    ActivityLog* log = nullptr;   ///< Lives as long as the application.
    std::shared_ptr<ReservedPaths> reserved = std::make_shared<ReservedPaths>();
    /// Where folder downloads note what a killed process would leave behind.
    std::filesystem::path markDirectory;
};

/// Downloads one file: resolves its destination, fetches it there, and sets the record's state and log lines.
/// Never throws; a stop is a normal end.
Task<> runDownload(DownloadOrder order, TransferRun run, DownloadContext context);
