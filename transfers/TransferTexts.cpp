#include "transfers/TransferTexts.h"

#include "foundation/Texts.h"
#include "foundation/runs/BytesFate.h"
#include "transfers/TransferProgress.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ranges>

namespace {

using Case = Transfer::State::Case;
using Tone = TransferStatus::Tone;

constexpr std::size_t maxProblemsInHelp = 5;

/// Returns the record that sends: for a folder, its current file.
const Transfer& sender(const Transfer& transfer)
{
    return *transfer.activeChild ? **transfer.activeChild : transfer;
}

/// "Part 4: B2 storage busy, retrying in 3 s (1 of 19)".
std::string partText(const std::pair<const int, std::string>& trouble)
{
    return fmt::format("Part {}: {}", trouble.first, trouble.second);
}

std::string troubleHelp(const Transfer& transfer)
{
    if (transfer.kind == Transfer::Kind::download)
        return "Backblaze did not send the file. Trying again after a pause";
    const auto& troubles = *sender(transfer).partsInTrouble;
    auto help = fmt::format("Backblaze refused {}. Retrying with a fresh upload URL after a pause",
        troubles.contains(0) ? "the file" : "a part");
    if (troubles.size() == 1)
        return help;
    // With several, the row shows only how many there are.
    help += '\n';
    for (const auto& trouble : troubles)
        help += '\n' + partText(trouble);
    return help;
}

TransferStatus runningStatus(const Transfer& transfer)
{
    constexpr auto hashingHelp = "Reading the file once to record its checksum before the upload starts";
    constexpr auto partsHelp = "Sent in parts. Cancel now and the finished parts stay stored until removed";
    if (const auto trouble = troubleText(transfer))
        return {*trouble, troubleHelp(transfer), Tone::retrying};
    const auto* const hashing = hashingFile(transfer);
    if (hashing && hashing != &transfer)
        return {singleLine(childText(transfer).value_or("")), hashingHelp};
    if (const auto files = folderText(transfer))
        return {*files, *transfer.activeChild && *sender(transfer).partCount ? partsHelp : ""};
    if (hashing)
        return {"Reading it to record a checksum", hashingHelp};
    if (const auto parts = partsText(transfer))
        return {*parts, transfer.kind == Transfer::Kind::upload ? partsHelp : ""};
    return {transfer.kind == Transfer::Kind::upload ? "Uploading" : "Downloading", {}};
}

/// Returns the folder's text with the first problems and their reasons.
std::string withProblems(const std::string& text, const Transfer& folder)
{
    const auto& problems = *folder.fileProblems;
    return problems.empty() ? text : text + "\n\n" + problemLines(problems, maxProblemsInHelp);
}

TransferStatus finishedStatus(const Transfer& transfer)
{
    if (transfer.kind == Transfer::Kind::download && *transfer.checksum) {
        const auto reason = (*transfer.checksum)->skipReason();
        if (!reason)
            return {
                "Done · checksum verified", "Downloaded bytes matched the checksum Backblaze holds", Tone::verified};
        return {
            "Done · not verified", fmt::format("The bytes were not checked: {}.", sentence(*reason)), Tone::warning};
    }
    if (*transfer.fileCount) {
        const auto text = "Done · " + countText(**transfer.fileCount, "file", "files");
        return {text, transfer.fileProblems->empty() ? std::string() : withProblems(text, transfer)};
    }
    return {"Done", {}};
}

std::optional<std::string> partCounter(const Transfer& transfer)
{
    if (!*transfer.partsCompleted || !*transfer.partCount)
        return {};
    return fmt::format("{} of {} parts", **transfer.partsCompleted, **transfer.partCount);
}

/// Returns the help of a failed row: the whole reason, and for a folder the first files and their reasons.
std::string failureHelp(const Transfer& transfer)
{
    const auto& text = transfer.state->text;
    if (!isFolder(transfer))
        return text + "\n\nRetried 5 times before giving up.";
    return withProblems(text, transfer);
}

std::string cancelledHelp(const Transfer& transfer)
{
    if (!*transfer.resumableFileID)
        return {};
    return fateText(BytesOperation::upload, BytesFate::parts())
        + " Resume goes on from them; \"Unfinished Uploads\" removes them.";
}

std::int64_t countIn(const std::vector<std::shared_ptr<Transfer>>& transfers, Case which)
{
    return std::ranges::count_if(transfers, [which](const auto& transfer) { return transfer->state->is(which); });
}

} // namespace

bool isFolder(const Transfer& transfer)
{
    return transfer.displayName.ends_with('/') || *transfer.fileCount || *transfer.isScanning;
}

TransferStatus statusOf(const Transfer& transfer)
{
    switch (transfer.state->which) {
    case Case::waiting:
        return {"Waiting", {}};
    case Case::running:
        return runningStatus(transfer);
    case Case::finished:
        return finishedStatus(transfer);
    case Case::skipped:
        return {"Skipped, already there", {}};
    case Case::cancelled:
        return {"Cancelled", cancelledHelp(transfer)};
    case Case::failed:
        return {singleLine(transfer.state->text), failureHelp(transfer), Tone::failure};
    }
    return {};
}

std::string partTroubleText(const std::string& message, double delaySeconds, int attempt, int limit)
{
    return fmt::format("{}, retrying in {} s ({} of {})", message, std::lround(delaySeconds), attempt, limit - 1);
}

std::optional<std::string> troubleText(const Transfer& transfer)
{
    const auto& troubles = *sender(transfer).partsInTrouble;
    if (troubles.empty())
        return {};
    if (troubles.size() == 1) {
        // A file that is not sent in parts has the part number 0.
        const auto& trouble = *troubles.begin();
        return trouble.first == 0 ? trouble.second : partText(trouble);
    }
    return fmt::format("{} parts retrying", troubles.size());
}

std::optional<std::string> partsText(const Transfer& transfer)
{
    if (*transfer.fileCount || *transfer.isScanning)
        return {};
    return partCounter(transfer);
}

std::optional<std::string> folderText(const Transfer& transfer)
{
    if (*transfer.isScanning)
        return transfer.kind == Transfer::Kind::upload ? "Scanning the folder" : "Listing the folder";
    const auto* const hashing = hashingFile(transfer);
    if (!*transfer.fileCount || (hashing && hashing != &transfer))
        return {};
    const int count = **transfer.fileCount;
    return fmt::format("{} of {} files", std::min(count, *transfer.filesCompleted + *transfer.filesFailed + 1), count);
}

std::optional<std::string> childText(const Transfer& transfer)
{
    if (!*transfer.activeChild)
        return {};
    const Transfer& child = **transfer.activeChild;
    if (const auto parts = partCounter(child))
        return child.displayName + ", " + *parts;
    return child.displayName + (*child.isHashing ? ", reading it to record a checksum" : "");
}

std::string alreadyUploadedText(int partCount)
{
    return countText(partCount, "part", "parts") + " already uploaded";
}

std::string secondLine(const Transfer& transfer)
{
    const auto status = statusOf(transfer).text;
    const bool isRunning = transfer.state->is(Case::running);
    auto line = status;
    const auto add = [&](const std::string& text) { line += " · " + text; };
    if (isRunning && *transfer.filesFailed > 0)
        add(fmt::format("{} failed", *transfer.filesFailed));
    if (*transfer.filesSkipped > 0)
        add(fmt::format("{} skipped, already there", *transfer.filesSkipped));
    if (*transfer.itemsLeftOut > 0)
        add(fmt::format("{} left out", *transfer.itemsLeftOut));
    if (const auto child = childText(transfer); child && isRunning && singleLine(*child) != status)
        add(singleLine(*child));
    if (isRunning && sender(transfer).partsAtStart->value_or(0) > 0)
        add(alreadyUploadedText(**sender(transfer).partsAtStart));
    // The parts that stay stored.
    const bool isKept = transfer.state->is(Case::cancelled) && *transfer.resumableFileID;
    if (const auto parts = partsText(transfer); parts && isKept)
        add(*parts);
    if (const auto place = placeText(transfer))
        add(singleLine(*place));
    return line;
}

std::string estimateText(double seconds)
{
    return durationText(seconds) + " left";
}

std::string amountText(const Transfer& transfer)
{
    if (transfer.state->is(Case::running) && *transfer.isHashing)
        return sizeText(*transfer.hashedBytes) + " of " + sizeText(*transfer.byteCount);
    if (transfer.state->is(Case::running) && *transfer.byteCount > 0 && !*transfer.isScanning)
        return sizeText(*transfer.bytesTransferred) + " of " + sizeText(*transfer.byteCount);
    const bool isUncounted = isFolder(transfer) && !*transfer.fileCount;
    if (isUncounted && *transfer.byteCount == 0)
        return {};
    return sizeText(*transfer.byteCount);
}

std::optional<std::string> rateText(const Transfer& transfer, Transfer::Clock::time_point now)
{
    const auto rate = bytesPerSecond(transfer, now);
    return rate ? std::optional(sizeText(std::llround(*rate)) + "/s") : std::nullopt;
}

std::string paceText(const Transfer& transfer, Transfer::Clock::time_point now)
{
    if (const auto* const file = hashingFile(transfer)) {
        const auto seconds = checksumSecondsLeft(*file, now);
        return seconds ? estimateText(*seconds) : std::string();
    }
    auto text = rateText(transfer, now).value_or("");
    if (const auto seconds = secondsLeft(transfer, now))
        text += (text.empty() ? "" : " · ") + estimateText(*seconds);
    return text;
}

std::optional<std::string> placeText(const Transfer& transfer)
{
    // The reason of a file takes the whole line.
    const bool isFailed = transfer.state->is(Case::failed) && !isFolder(transfer);
    if (transfer.kind == Transfer::Kind::upload && *transfer.bucket && !isFailed) {
        const auto prefix = transfer.remoteName.substr(0, transfer.remoteName.size() - transfer.displayName.size());
        auto place = "to " + (*transfer.bucket)->bucketName + "/" + prefix;
        place.pop_back();
        return place;
    }
    if (transfer.kind == Transfer::Kind::download && *transfer.localPath && !isFailed) {
        const auto& path = **transfer.localPath;
        // The path of a folder may end with a "/".
        const auto itself = path.has_filename() ? path : path.parent_path();
        return "in " + itself.parent_path().filename().string();
    }
    return {};
}

std::string summaryText(const std::vector<std::shared_ptr<Transfer>>& transfers)
{
    const std::array kinds{std::pair(Case::running, "running"), std::pair(Case::waiting, "waiting"),
        std::pair(Case::finished, "done"), std::pair(Case::skipped, "skipped"),
        std::pair(Case::cancelled, "cancelled")};
    std::string text;
    for (const auto& [which, word] : kinds) {
        if (const auto count = countIn(transfers, which); count > 0)
            text += (text.empty() ? "" : ", ") + countText(count, word, word);
    }
    return text;
}

std::string failedText(const std::vector<std::shared_ptr<Transfer>>& transfers)
{
    const auto count = countIn(transfers, Case::failed);
    return count > 0 ? countText(count, "failed", "failed") : std::string();
}

std::string problemSummary(const std::vector<FileProblem>& problems)
{
    std::array<std::int64_t, 3> counts{};
    for (const auto& problem : problems)
        counts.at(static_cast<std::size_t>(problem.kind)) += problem.count;
    const auto& [failed, skipped, leftOut] = counts;
    std::string text;
    const auto add = [&](std::int64_t count, const char* one, const char* several) {
        if (count > 0)
            text += (text.empty() ? "" : ", ") + countText(count, one, several);
    };
    add(failed, "file failed", "files failed");
    add(skipped, "file was skipped", "files were skipped");
    add(leftOut, "item was left out", "items were left out");
    return text + ".";
}

std::string problemLines(const std::vector<FileProblem>& problems, std::size_t maxFiles)
{
    std::string lines;
    for (const auto& problem : problems | std::views::take(maxFiles))
        lines += fmt::format("{}: {}\n", singleLine(problem.relativePath), singleLine(problem.reason));
    if (problems.size() > maxFiles)
        lines += fmt::format("and {} more\n", problems.size() - maxFiles);
    if (!lines.empty())
        lines.pop_back();
    return lines;
}

std::string refusalSummary(const std::vector<std::string>& refusals)
{
    if (refusals.size() < 2)
        return refusals.empty() ? std::string() : refusals.front();
    return fmt::format("{} {} refused; the activity log says why.", refusals.front(),
        countText(static_cast<std::int64_t>(refusals.size()) - 1, "more file was", "more files were"));
}

std::string accessibleText(const Transfer& transfer)
{
    auto text = fmt::format("{}, {}, {}", singleLine(transfer.displayName),
        transfer.kind == Transfer::Kind::upload ? "upload" : "download", statusOf(transfer).text);
    if (const auto fraction = fractionDone(transfer); fraction && transfer.state->is(Case::running))
        text += fmt::format(", {} percent", static_cast<int>(*fraction * 100));
    return text;
}

std::string retryLabel(const Transfer& transfer)
{
    return transfer.kind == Transfer::Kind::upload && transfer.state->is(Case::cancelled) ? "Resume" : "Retry";
}

std::string skipLabel(const Transfer& transfer)
{
    return isFolder(transfer) ? "Skip all" : "Skip";
}

std::string skipHelp(const Transfer& transfer)
{
    return isFolder(transfer) ? "Skip the checksums and start now. Downloads of these cannot be verified later"
                              : "Skip the checksum and start now. Downloads of this cannot be verified later";
}

std::string cancelHelp(const Transfer& transfer)
{
    return transfer.state->is(Case::waiting) ? "Remove from queue" : "Cancel this transfer";
}

std::string progressLine(const Transfer& transfer, std::int64_t done, std::int64_t total)
{
    auto line = fmt::format("{} {} - {} of {}", transfer.kind == Transfer::Kind::upload ? "Uploading" : "Downloading",
        transfer.displayName, sizeText(done), sizeText(total));
    if (total > 0)
        line += fmt::format(" ({}%)", static_cast<int>(static_cast<double>(done) / static_cast<double>(total) * 100));
    return line;
}
