#include "storage/unfinished/UnfinishedUploadTexts.h"

#include "foundation/Texts.h"

std::string rowText(const UnfinishedUploadsModel::Item& item, std::chrono::system_clock::time_point now)
{
    const std::chrono::system_clock::time_point started{std::chrono::milliseconds(item.file.uploadTimestamp)};
    std::string stored = "size unknown";
    if (item.partCount == 0)
        stored = "no completed parts yet";
    else if (item.partCount && item.storedBytes)
        stored = sizeText(*item.storedBytes) + " · " + countText(*item.partCount, "part", "parts") + " stored";
    return stored + " · started " + agoText(started, now);
}

std::string rowHelp(const UnfinishedUploadsModel::Item& item)
{
    if (item.partCount == 0)
        return "No part has finished yet, so nothing is stored or billed for this upload";
    return {};
}

std::string footerText(const std::vector<UnfinishedUploadsModel::Item>& items)
{
    return sizeText(storedBytesOf(items)) + " stored across "
        + countText(static_cast<std::int64_t>(items.size()), "unfinished upload", "unfinished uploads");
}

std::string storedText(const UnfinishedUploadsModel::Item& item)
{
    if (!item.partCount || !item.storedBytes)
        return "the stored parts";
    return countText(*item.partCount, "part", "parts") + ", " + sizeText(*item.storedBytes);
}

CancelQuestion cancelQuestion(const UnfinishedUploadsModel::Item& item, const std::string& name)
{
    std::string lost = "Every part uploaded so far is deleted for good, and the upload";
    if (item.partCount == 0)
        lost = "Nothing is stored of it yet. The upload";
    else if (item.partCount && item.storedBytes)
        lost = "What Backblaze holds of it (" + storedText(item) + ") is deleted for good, and the upload";
    return {"Cancel the upload of “" + name + "”?",
        lost + " can no longer be resumed. The file it comes from stays as it is."};
}
