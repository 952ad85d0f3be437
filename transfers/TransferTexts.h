#pragma once

#include "transfers/Transfer.h"

#include <optional>
#include <string>
#include <vector>

/// The words of a transfer's row. Functions of its fields; the caller brings the clock.

/// Does the record stand for a folder?
bool isFolder(const Transfer& transfer);

/// What the row says of its state.
struct TransferStatus {
    /// `retrying` is a pause that ends by itself, no failure.
    enum class Tone { plain, verified, retrying, warning, failure };

    std::string text; ///< One line.
    std::string help; ///< The whole of it, or what it means; may be empty.
    Tone tone = Tone::plain;

    bool operator==(const TransferStatus&) const = default;
};

TransferStatus statusOf(const Transfer& transfer);

/// What a part that is tried again says: "B2 storage busy, retrying in 3 s (1 of 19)".
std::string partTroubleText(const std::string& message, double delaySeconds, int attempt, int limit);

/// Nothing while no part is in trouble. Of a folder: what its present file meets.
std::optional<std::string> troubleText(const Transfer& transfer);

/// "3 of 12 parts" of a plain file.
std::optional<std::string> partsText(const Transfer& transfer);

/// "Scanning the folder", "3 of 12 files".
std::optional<std::string> folderText(const Transfer& transfer);

/// The file of a folder that is on its way.
std::optional<std::string> childText(const Transfer& transfer);

/// "3 parts already uploaded", of an upload that goes on from an earlier one.
std::string alreadyUploadedText(int partCount);

/// The row's second line: its status, what failed or was left out, the file on its way, what it goes on from, what
/// stays stored of it, its place.
std::string secondLine(const Transfer& transfer);

/// "2h 5m left".
std::string estimateText(double seconds);

/// "1.2 MB of 5 MB" on its way or while it is read for its checksum, the size alone before and after; empty for a
/// folder that is not counted.
std::string amountText(const Transfer& transfer);

/// "1.2 MB/s"; nothing while it is not known.
std::optional<std::string> rateText(const Transfer& transfer, Transfer::Clock::time_point now);

/// Rate and time left, of the transfer or of its checksum pass; empty while nothing can be said.
std::string paceText(const Transfer& transfer, Transfer::Clock::time_point now);

/// Where it goes to or has come to: "to photos/2024" of an upload, "in Downloads" of a finished download.
std::optional<std::string> placeText(const Transfer& transfer);

/// "2 running, 5 waiting" for the panel's title; empty without transfers. What failed is counted by `failedText`.
std::string summaryText(const std::vector<std::shared_ptr<Transfer>>& transfers);

/// "3 failed"; empty when none has.
std::string failedText(const std::vector<std::shared_ptr<Transfer>>& transfers);

/// "2 files failed, 3 files were skipped, 1 item was left out."
std::string problemSummary(const std::vector<FileProblem>& problems);

/// Files that did not go, one a line with its reason.
///
/// @param mostFiles  what is beyond these is counted.
std::string problemLines(const std::vector<FileProblem>& problems, std::size_t mostFiles);

/// The refusals as one message: the first, and how many more there are.
std::string refusalSummary(const std::vector<std::string>& refusals);

/// The name a screen reader says for the row: name, direction, state and percent.
std::string accessibleText(const Transfer& transfer);

// --- Words of the row's commands

/// "Retry", or "Resume" for a cancelled upload.
std::string retryLabel(const Transfer& transfer);
/// "Skip", or "Skip all" for a folder, and what follows from it.
std::string skipLabel(const Transfer& transfer);
std::string skipHelp(const Transfer& transfer);
/// "Remove from queue" or "Cancel this transfer".
std::string cancelHelp(const Transfer& transfer);

// --- Lines of the activity log

/// "Uploading photo.jpg - 50 MB of 80 MB (62%)".
std::string progressLine(const Transfer& transfer, std::int64_t done, std::int64_t total);
