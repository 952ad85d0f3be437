#pragma once

#include "transfers/TransferFailure.h"
#include "transfers/upload/UploadRun.h"
#include "transfers/upload/UploadSource.h"

#include <string>

// Internal to transfers: the upload of a file from `largeFileThreshold` on.

/// Why a file is not stored as it is on the disk.
struct UploadProblem {
    BytesFailure failure;
    FailureLine line;
};

/// Sends the file in parts. Reads it for its checksum first, unless that is off, skipped or was done when the upload
/// began. Remembers the large file in the record and in the store, so that it can be resumed.
///
/// @throws as `uploadLargeFile` of B2Kit.
Task<> sendInParts(const UploadOrder* order, const TransferRun* run, const UploadContext* context,
    const UploadSource* source, std::string contentType);

/// Interprets the failure of `sendInParts`. When the large file cannot be resumed, the record forgets it and the next
/// retry sends the whole file again.
UploadProblem endOfLargeUpload(Transfer& transfer, const std::exception_ptr& failure);
