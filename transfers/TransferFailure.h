#pragma once

#include "foundation/BytesFate.h"
#include "transfers/Transfer.h"

#include <exception>
#include <optional>
#include <string>

class ActivityLog;

// Inside transfers: how a failed attempt is understood, and how it ends. Cancellations are sorted out before.

/// What has become of an upload's bytes in all its attempts so far.
BytesFate fateOf(const Transfer& upload);

/// Why an upload failed. A spent cap is named, with where to raise it.
///
/// @param fate  of the bytes, as far as the caller knows; the failure itself may say more.
BytesFailure uploadFailure(const std::exception_ptr& failure, BytesFate fate);

/// Why a download failed. A file that is gone from the service is named.
BytesFailure downloadFailure(const std::exception_ptr& failure, const std::string& displayName);

/// Why a folder could not be listed or its files not be downloaded.
///
/// @param fate  of its files: those of earlier attempts stay.
BytesFailure folderDownloadFailure(const std::exception_ptr& failure, BytesFate fate);

/// The failure of a download whose name leads out of the destination folder.
BytesFailure outsideFailure(const std::string& name);

/// Is the unfinished large file gone from the service?
bool isGoneAtService(const std::exception_ptr& failure);

/// Is the source another one than the unfinished large file began with?
bool isOfAnotherSource(const std::exception_ptr& failure);

/// The failure as the text of the record's row.
std::string failureText(const Transfer& transfer, const BytesFailure& failure);

/// Words of the log's line in place of the usual ones.
struct FailureLine {
    std::optional<std::string> message; ///< Instead of "Upload of a.txt failed".
    std::optional<std::string> detail;  ///< Instead of the text.
};

/// Ends the attempt as failed, in the row and in the log.
void endAsFailed(const TransferRun& run, ActivityLog& log, const BytesFailure& failure, FailureLine line = {});
