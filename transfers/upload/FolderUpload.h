#pragma once

#include "transfers/folders/FolderProgress.h"
#include "transfers/upload/UploadRun.h"

#include <filesystem>
#include <memory>

/// Everything the upload of a folder needs, kept for a retry. The prefix is the name of its record.
struct FolderUploadOrder {
    std::filesystem::path folder;
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
    std::shared_ptr<FolderProgress> progress = std::make_shared<FolderProgress>();
};

/// Counts the files of a folder, then uploads them one after another as children of the record, inside its slot.
Task<> runFolderUpload(FolderUploadOrder order, TransferRun run, UploadContext context);
