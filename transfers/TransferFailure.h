#pragma once

#include "foundation/runs/BytesFate.h"
#include "transfers/Transfer.h"

#include <exception>
#include <optional>
#include <string>

class ActivityLog;

// Internal to transfers: turns a failed attempt into words and ends it. Callers handle cancellations first.

/// Returns the fate of an upload's bytes after all its attempts so far.
BytesFate fateOf(const Transfer& upload);

/// Describes why an upload failed. Names a spent cap, and where to raise it.
///
/// @param fate  of the bytes, as far as the caller knows; the failure itself may say more.
BytesFailure uploadFailure(const std::exception_ptr& failure, BytesFate fate);

/// Describes why a download failed. Names a file that is gone from the service.
BytesFailure downloadFailure(const std::exception_ptr& failure, const std::string& displayName);

/// Describes why a folder could not be listed or downloaded.
///
/// @param fate  of its files, including those of earlier attempts.
BytesFailure folderDownloadFailure(const std::exception_ptr& failure, BytesFate fate);

/// Describes the refusal of a name that leads out of the destination folder.
BytesFailure outsideFailure(const std::string& name);

/// Is the unfinished large file gone from the service?
bool isGoneAtService(const std::exception_ptr& failure);

/// Does the source differ from the one the unfinished large file began with?
bool isOfAnotherSource(const std::exception_ptr& failure);

/// The failure as the text of the record's row.
std::string failureText(const Transfer& transfer, const BytesFailure& failure);

/// Overrides for the words of the log line.
struct FailureLine {
    std::optional<std::string> message; ///< Instead of "Upload of a.txt failed".
    std::optional<std::string> detail;  ///< Instead of the text.
};

/// Ends the attempt as failed, in the row and in the log.
void endAsFailed(const TransferRun& run, ActivityLog& log, const BytesFailure& failure, FailureLine line = {});
