#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2File.h"
#include "B2Kit/transport/B2Transport.h"
#include "accounts/B2Session.h"
#include "async/Task.h"
#include "transfers/Transfer.h"
#include "transfers/download/Destination.h"
#include "transfers/download/DownloadMark.h"
#include "transfers/upload/UploadSource.h"

#include <memory>
#include <string>

class FolderLanding;
class ResumeStore;
class Settings;

/// What one download needs, kept for a retry.
struct DownloadOrder {
    B2FileVersion file;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    DownloadFolder folder;
    /// Of a folder's child: where the files of the folder land, in place of `folder`, and its path below.
    std::shared_ptr<FolderLanding> landing = {};
    std::string relativePath = {};
};

/// What one upload needs, kept for a retry. Source and name are those of its record.
struct UploadOrder {
    std::filesystem::path source;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
};

/// What an earlier attempt at a folder has done, so that a retry does the rest alone. Used on the main thread.
struct FolderProgress {
    struct Done {
        std::int64_t byteCount = 0;
        /// Of the source of an upload; of a download when it was uploaded.
        std::chrono::system_clock::time_point modificationDate;
        std::filesystem::path landed; ///< Of a download.
    };

    std::map<std::string, Done> done; ///< By relative path.
    /// Children that were interrupted and have parts at the service, by relative path.
    std::map<std::string, std::shared_ptr<Transfer>> interrupted;
    /// Of a download: the name of the local folder, and the files that have landed in it.
    std::optional<std::string> localFolder;
    std::shared_ptr<LandedFiles> landed = std::make_shared<LandedFiles>();
};

/// What the upload of a folder needs, kept for a retry. The prefix is the name of its record.
struct FolderUploadOrder {
    std::filesystem::path folder;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    std::shared_ptr<FolderProgress> progress = std::make_shared<FolderProgress>();
};

/// What the download of a folder needs, kept for a retry. The prefix is the name of its record; the files land in
/// a folder of the prefix's last component.
struct FolderDownloadOrder {
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    DownloadFolder folder;
    std::shared_ptr<FolderProgress> progress = std::make_shared<FolderProgress>();
};

/// What all uploads share.
struct UploadContext {
    Settings* settings = nullptr;       ///< Lives as long as the application.
    ResumeStore* resumeStore = nullptr; ///< Null without one; otherwise lives as long as the application.
};

/// What all downloads share.
struct DownloadContext {
    Settings* settings = nullptr; ///< Lives as long as the application.
    std::shared_ptr<ReservedPaths> reserved = std::make_shared<ReservedPaths>();
    /// Where downloads of folders note what a kill would leave.
    std::filesystem::path markDirectory;
};

/// Downloads one file: resolves its destination, fetches it there, and sets the record's state and log lines.
/// Throws nothing; a stop is an end like others.
Task<> runDownload(DownloadOrder order, TransferRun run, DownloadContext context);

/// Uploads one file, whole or from `largeFileThreshold` on in parts, and sets the record's state and log lines. A
/// record with a resumable file id goes on with that large file. Throws nothing; a stop is an end like others.
Task<> runUpload(UploadOrder order, TransferRun run, UploadContext context);

/// Counts the files of a folder, then uploads one after another as children of the record, inside its slot.
Task<> runFolderUpload(FolderUploadOrder order, TransferRun run, UploadContext context);

/// Lists the files under a prefix, then downloads one after another as children of the record, inside its slot.
Task<> runFolderDownload(FolderDownloadOrder order, TransferRun run, DownloadContext context);

/// Notes that the first byte of the attempt is about to move; a folder's record learns of it too.
void noteTransferStart(Transfer& transfer);

/// Brings a client's reports, which come on any thread, to the row and to the log, each at its own pace.
B2Progress progressOf(const TransferRun& run);
