#pragma once

#include "transfers/upload/UploadRun.h"
#include "transfers/upload/UploadSource.h"

#include <string>

// Inside transfers: the upload of a file from `largeFileThreshold` on.

/// Sends the file in parts, after a pass for its checksum unless that is off, skipped or was made when the upload
/// began. Remembers the large file in the record and in the store, so that it can be resumed.
///
/// @throws as `B2Client::uploadLargeFile`.
Task<> sendInParts(const UploadOrder* order, const TransferRun* run, const UploadContext* context,
    const UploadSource* source, std::string contentType);

/// What a failure leaves behind, for the record and its texts.
struct LargeUploadEnd {
    std::string text;   ///< Of the row.
    std::string detail; ///< Of the log.
};

/// Interprets the failure of `sendInParts`. An upload that cannot be resumed starts anew with the next retry.
LargeUploadEnd endOfLargeUpload(Transfer& transfer, const std::exception_ptr& failure);
