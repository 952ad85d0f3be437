#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2File.h"
#include "B2Kit/B2Transport.h"
#include "accounts/B2Session.h"
#include "async/Task.h"
#include "transfers/Destination.h"
#include "transfers/Transfer.h"
#include "transfers/UploadSource.h"

#include <memory>
#include <string>

class Settings;

/// What one download needs, kept for a retry.
struct DownloadOrder {
    B2FileVersion file;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    DownloadFolder folder;
};

/// What one upload needs, kept for a retry. Source and name are those of its record.
struct UploadOrder {
    std::filesystem::path source;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
};

/// What all downloads share.
struct DownloadContext {
    Settings* settings = nullptr; ///< Lives as long as the application.
    std::shared_ptr<ReservedPaths> reserved = std::make_shared<ReservedPaths>();
};

/// Downloads one file: resolves its destination, fetches it there, and sets the record's state and log lines.
/// Throws nothing; a stop is an end like others.
Task<> runDownload(DownloadOrder order, TransferRun run, DownloadContext context);

/// Uploads one file below `largeFileThreshold` straight from the disk, and sets the record's state and log lines.
Task<> runUpload(UploadOrder order, TransferRun run);

/// Brings a client's reports, which come on any thread, to the row and to the log, each at its own pace.
B2Progress progressOf(const TransferRun& run);
