#pragma once

#include "transfers/Transfer.h"

#include <optional>
#include <string>
#include <vector>

/// The words of a transfer's row. Functions of its fields; the caller passes the time.

/// Is the record that of a folder?
bool isFolder(const Transfer& transfer);

/// The text of the row's state.
struct TransferStatus {
    /// `retrying` is a pause that ends by itself, not a failure.
    enum class Tone { plain, verified, retrying, warning, failure };

    std::string text; ///< One line.
    std::string help; ///< The whole text, or its meaning; may be empty.
    Tone tone = Tone::plain;

    bool operator==(const TransferStatus&) const = default;
};

TransferStatus statusOf(const Transfer& transfer);

/// Returns the text of a part's retry: "B2 storage busy, retrying in 3 s (1 of 19)".
std::string partTroubleText(const std::string& message, double delaySeconds, int attempt, int limit);

/// Returns the retry text, for a folder that of its current file; nothing while no part is in trouble.
std::optional<std::string> troubleText(const Transfer& transfer);

/// "3 of 12 parts", for a single file.
std::optional<std::string> partsText(const Transfer& transfer);

/// "Scanning the folder", "3 of 12 files".
std::optional<std::string> folderText(const Transfer& transfer);

/// The file of a folder that is being transferred.
std::optional<std::string> childText(const Transfer& transfer);

/// "3 parts already uploaded", for an upload that continues an earlier one.
std::string alreadyUploadedText(int partCount);

/// The row's second line: status, counts of failed and left-out files, current file, parts of earlier attempts, place.
std::string secondLine(const Transfer& transfer);

/// "2h 5m left".
std::string estimateText(double seconds);

/// "1.2 MB of 5 MB" while it moves or is read for its checksum, otherwise the size; empty for a folder that is not
/// counted yet.
std::string amountText(const Transfer& transfer);

/// "1.2 MB/s"; nothing while it is unknown.
std::optional<std::string> rateText(const Transfer& transfer, Transfer::Clock::time_point now);

/// Rate and time left of the transfer or of its checksum pass; empty while unknown.
std::string paceText(const Transfer& transfer, Transfer::Clock::time_point now);

/// Where it goes: "to photos/2024" for an upload, "in Downloads" for a finished download.
std::optional<std::string> placeText(const Transfer& transfer);

/// "2 running, 5 waiting" for the panel's title; empty without transfers. `failedText` counts the failures.
std::string summaryText(const std::vector<std::shared_ptr<Transfer>>& transfers);

/// "3 failed"; empty when none has.
std::string failedText(const std::vector<std::shared_ptr<Transfer>>& transfers);

/// "2 files failed, 3 files were skipped, 1 item was left out."
std::string problemSummary(const std::vector<FileProblem>& problems);

/// Lists the problems with their reasons, one per line.
///
/// @param maxFiles  the rest is only counted.
std::string problemLines(const std::vector<FileProblem>& problems, std::size_t maxFiles);

/// The refusals as one message: the first, and how many more there are.
std::string refusalSummary(const std::vector<std::string>& refusals);

/// The name a screen reader says for the row: name, direction, state and percent.
std::string accessibleText(const Transfer& transfer);

// --- Words of the row's commands

/// "Retry", or "Resume" for a cancelled upload.
std::string retryLabel(const Transfer& transfer);
/// "Skip", or "Skip all" for a folder, and its consequence.
std::string skipLabel(const Transfer& transfer);
std::string skipHelp(const Transfer& transfer);
/// "Remove from queue" or "Cancel this transfer".
std::string cancelHelp(const Transfer& transfer);

// --- Lines of the activity log

/// "Uploading photo.jpg - 50 MB of 80 MB (62%)".
std::string progressLine(const Transfer& transfer, std::int64_t done, std::int64_t total);
