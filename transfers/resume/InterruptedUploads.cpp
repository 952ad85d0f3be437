#include "transfers/resume/InterruptedUploads.h"

#include "foundation/Texts.h"
#include "foundation/runs/BytesFate.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"

#include <algorithm>
#include <chrono>
#include <map>

namespace {

std::string inQuotes(const std::string& name)
{
    return "“" + singleLine(name) + "”";
}

/// Returns "“a”", "“a” and “b”" or "“a”, “b” and 3 more buckets".
std::string bucketsText(const std::map<std::string, int>& counts)
{
    constexpr std::size_t maxNamed = 3;
    std::vector<std::string> names;
    for (const auto& [name, count] : counts)
        names.push_back(inQuotes(name));
    if (names.size() > maxNamed) {
        const auto rest = static_cast<std::int64_t>(names.size() - maxNamed);
        names.resize(maxNamed);
        names.push_back(countText(rest, "more bucket", "more buckets"));
    }
    auto text = names.front();
    for (std::size_t i = 1; i < names.size(); ++i)
        text += (i + 1 == names.size() ? " and " : ", ") + names[i];
    return text;
}

} // namespace

void InterruptedUploads::begin(const ResumeStore& store, Settings& settings)
{
    using std::chrono::milliseconds;
    const std::chrono::system_clock::time_point lastStart{
        milliseconds(settings.integer(SettingsKeys::lastStart).value_or(0))};
    uploads_ = store.uploads();
    std::erase_if(uploads_, [&](const ResumableUpload& upload) { return upload.startedAt < lastStart; });
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    settings.set(SettingsKeys::lastStart, std::chrono::ceil<milliseconds>(now).count());
}

std::optional<std::string> InterruptedUploads::takeSentence(const std::vector<B2Bucket>& buckets, const IsOpen& isOpen)
{
    std::map<std::string, int> counts;
    std::vector<std::string> fileIDs;
    std::string lastName;
    std::erase_if(uploads_, [&](const ResumableUpload& upload) {
        const auto bucket = std::ranges::find(buckets, upload.bucketID, &B2Bucket::bucketID);
        if (bucket == buckets.end())
            return false;
        if (isOpen(upload.fileID)) {
            ++counts[bucket->bucketName];
            fileIDs.push_back(upload.fileID);
            lastName = upload.remoteName.substr(upload.remoteName.rfind('/') + 1);
        }
        return true;
    });
    if (fileIDs.empty())
        return std::nullopt;
    const auto total = static_cast<std::int64_t>(fileIDs.size());
    const bool isOne = total == 1;
    mentionedFileIDs_ = std::move(fileIDs);
    return (isOne ? inQuotes(lastName) + " was" : countText(total, "upload", "uploads") + " were")
        + " not finished when Kestrovan was last open. " + fateText(BytesOperation::upload, BytesFate::parts())
        + " Resume or remove " + (isOne ? "it" : "them") + " in Unfinished Uploads of " + bucketsText(counts) + ".";
}

bool InterruptedUploads::isOutdated(const IsOpen& isOpen) const
{
    return std::ranges::none_of(mentionedFileIDs_, isOpen);
}
