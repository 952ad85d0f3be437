#include "transfers/TransferTexts.h"

#include "foundation/Texts.h"
#include "transfers/TransferProgress.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

using Case = Transfer::State::Case;
using Tone = TransferStatus::Tone;

TransferStatus runningStatus(const Transfer& transfer)
{
    if (const auto trouble = troubleText(transfer))
        return {*trouble, "Backblaze refused a part. Retrying with a fresh upload URL after a pause", Tone::warning};
    if (const auto parts = partsText(transfer))
        return {*parts, "Sent in parts. Cancel now and the finished parts stay stored until removed"};
    return {transfer.kind == Transfer::Kind::upload ? "Uploading" : "Downloading", {}};
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
    if (*transfer.fileCount)
        return {"Done · " + countText(**transfer.fileCount, "file", "files"), {}};
    return {"Done", {}};
}

bool hasHashingChild(const Transfer& transfer)
{
    return *transfer.activeChild && *(*transfer.activeChild)->isHashing;
}

std::optional<std::string> partCounter(const Transfer& transfer)
{
    if (!*transfer.partsCompleted || !*transfer.partCount)
        return {};
    return fmt::format("{} of {} parts", **transfer.partsCompleted, **transfer.partCount);
}

} // namespace

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
        return {"Cancelled", {}};
    case Case::failed:
        return {singleLine(transfer.state->text), transfer.state->text + "\n\nRetried 5 times before giving up.",
            Tone::failure};
    }
    return {};
}

std::string partTroubleText(const std::string& message, double delaySeconds, int attempt, int limit)
{
    return fmt::format("{}, retrying in {} s ({} of {})", message, std::lround(delaySeconds), attempt, limit - 1);
}

std::optional<std::string> troubleText(const Transfer& transfer)
{
    const auto& troubles = *transfer.partsInTrouble;
    if (troubles.empty())
        return {};
    if (troubles.size() == 1)
        return fmt::format("Part {}: {}", troubles.begin()->first, troubles.begin()->second);
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
    if (!*transfer.fileCount || hasHashingChild(transfer))
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

std::string estimateText(double seconds)
{
    return durationText(seconds) + " left";
}

std::string amountText(const Transfer& transfer)
{
    if (transfer.state->is(Case::running) && *transfer.byteCount > 0)
        return sizeText(*transfer.bytesTransferred) + " of " + sizeText(*transfer.byteCount);
    if (*transfer.isScanning && *transfer.byteCount == 0)
        return {};
    return sizeText(*transfer.byteCount);
}

std::optional<std::string> rateText(const Transfer& transfer, Transfer::Clock::time_point now)
{
    const auto rate = bytesPerSecond(transfer, now);
    return rate ? std::optional(sizeText(std::llround(*rate)) + "/s") : std::nullopt;
}

std::optional<std::string> placeText(const Transfer& transfer)
{
    const bool isFailed = transfer.state->is(Case::failed);
    if (transfer.kind == Transfer::Kind::upload && *transfer.bucket && !isFailed) {
        const auto prefix = transfer.remoteName.substr(0, transfer.remoteName.size() - transfer.displayName.size());
        auto place = "to " + (*transfer.bucket)->bucketName + "/" + prefix;
        place.pop_back();
        return place;
    }
    if (transfer.kind == Transfer::Kind::download && *transfer.localPath && !isFailed)
        return "in " + (*transfer.localPath)->parent_path().filename().string();
    return {};
}

std::string summaryText(const std::vector<std::shared_ptr<Transfer>>& transfers)
{
    const std::array kinds{std::pair(Case::running, "running"), std::pair(Case::waiting, "waiting"),
        std::pair(Case::finished, "done"), std::pair(Case::skipped, "skipped"), std::pair(Case::cancelled, "cancelled"),
        std::pair(Case::failed, "failed")};
    std::string text;
    for (const auto& [which, word] : kinds) {
        const auto count =
            std::ranges::count_if(transfers, [&](const auto& transfer) { return transfer->state->is(which); });
        if (count > 0)
            text += (text.empty() ? "" : ", ") + countText(count, word, word);
    }
    return text;
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
