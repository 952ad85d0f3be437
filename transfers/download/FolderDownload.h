#pragma once

#include "transfers/download/DownloadRun.h"
#include "transfers/folders/FolderProgress.h"

#include <memory>

/// Everything the download of a folder needs, kept for a retry. The prefix is the name of its record; the files land in
/// a folder of the prefix's last component.
struct FolderDownloadOrder {
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    DownloadFolder folder;
    std::shared_ptr<FolderProgress> progress = std::make_shared<FolderProgress>();
};

/// Lists the files under a prefix, then downloads them one after another as children of the record, inside its slot.
Task<> runFolderDownload(FolderDownloadOrder order, TransferRun run, DownloadContext context);
