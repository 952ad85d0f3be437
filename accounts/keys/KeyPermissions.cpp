#include "accounts/keys/KeyPermissions.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace {

std::string joined(const std::vector<std::string_view>& words)
{
    if (words.size() < 2)
        return words.empty() ? std::string() : std::string(words.front());
    return fmt::format("{} and {}", fmt::join(words.begin(), words.end() - 1, ", "), words.back());
}

} // namespace

std::string_view presetTitle(KeyPreset preset)
{
    switch (preset) {
    case KeyPreset::readOnly:
        return "Read only";
    case KeyPreset::readWrite:
        return "Read and write";
    case KeyPreset::fullControl:
        return "Full control";
    case KeyPreset::custom:
        return "Custom";
    }
    return {};
}

std::string_view presetText(KeyPreset preset)
{
    switch (preset) {
    case KeyPreset::readOnly:
        return "Browse and download. Cannot upload, delete, or change anything.";
    case KeyPreset::readWrite:
        return "Browse, download, upload and delete files. Cannot manage buckets or keys.";
    case KeyPreset::fullControl:
        return "Everything this key's own permissions allow, including creating and deleting buckets and other keys.";
    case KeyPreset::custom:
        return "Choose each permission individually.";
    }
    return {};
}

std::set<B2Capability> presetCapabilities(KeyPreset preset)
{
    using namespace B2Capabilities;
    const auto every = all();
    switch (preset) {
    case KeyPreset::readOnly:
        return {listBuckets, listFiles, readFiles, shareFiles};
    case KeyPreset::readWrite:
        return {listBuckets, listFiles, readFiles, shareFiles, writeFiles, deleteFiles};
    case KeyPreset::fullControl:
        return {every.begin(), every.end()};
    case KeyPreset::custom:
        break;
    }
    return {};
}

bool isEveryCapability(const std::set<B2Capability>& capabilities)
{
    static constexpr std::array<std::string_view, 6> unlisted{"readBucketInfo", "writeBucketInfo", "readBucketType",
        "writeBucketType", "readBucketPolicy", "writeBucketPolicy"};
    return std::ranges::all_of(B2Capabilities::all(), [&](const B2Capability& each) {
        return std::ranges::find(unlisted, each.rawValue) != unlisted.end() || capabilities.contains(each);
    });
}

std::string presetSummary(const std::set<B2Capability>& capabilities)
{
    using namespace B2Capabilities;
    if (isEveryCapability(capabilities))
        return "Full control";
    const auto hasAny = [&](std::initializer_list<B2Capability> wanted) {
        return std::ranges::any_of(wanted, [&](const auto& each) { return capabilities.contains(each); });
    };
    std::vector<std::string_view> words;
    if (hasAny({readFiles}))
        words.push_back("read");
    if (hasAny({writeFiles}))
        words.push_back("write");
    if (hasAny({deleteFiles}))
        words.push_back("delete");
    if (hasAny({shareFiles}))
        words.push_back("share");
    if (hasAny({writeKeys, deleteKeys}))
        words.push_back("manage keys");
    if (hasAny({writeBuckets, deleteBuckets}))
        words.push_back("manage buckets");
    if (words.empty())
        return capabilities.empty() ? "nothing" : "other permissions only";
    return fmt::format("{}", fmt::join(words, ", "));
}

std::string riskNote(const std::set<B2Capability>& capabilities)
{
    std::vector<std::string_view> things;
    if (capabilities.contains(B2Capabilities::deleteFiles))
        things.push_back("files");
    if (capabilities.contains(B2Capabilities::deleteBuckets))
        things.push_back("buckets");
    if (capabilities.contains(B2Capabilities::deleteKeys))
        things.push_back("other keys");
    if (things.empty())
        return "This key cannot delete anything.";
    return fmt::format("This key can delete {}. If it leaks, that is what is at risk.", joined(things));
}

namespace KeyPermissions {

std::span<const Group> groups()
{
    using namespace B2Capabilities;
    static const std::vector<Group> all{
        {"Files",
            {
                {listFiles, "List files"},
                {readFiles, "Download files"},
                {writeFiles, "Upload files"},
                {deleteFiles, "Delete files"},
                {shareFiles, "Create share links"},
            }},
        {"Buckets",
            {
                {listBuckets, "List buckets"},
                {writeBuckets, "Create and change buckets"},
                {deleteBuckets, "Delete buckets"},
                {B2Capability("readBucketCors"), "Read CORS rules"},
                {B2Capability("writeBucketCors"), "Change CORS rules"},
                {B2Capability("readBucketReplications"), "Read replication rules"},
                {B2Capability("writeBucketReplications"), "Change replication rules"},
                {B2Capability("readBucketNotifications"), "Read event notification rules"},
                {B2Capability("writeBucketNotifications"), "Change event notification rules"},
            }},
        {"Keys",
            {
                {listKeys, "List keys"},
                {writeKeys, "Create keys"},
                {deleteKeys, "Delete keys"},
            }},
        {"Encryption and retention",
            {
                {B2Capability("readBucketEncryption"), "Read bucket encryption"},
                {B2Capability("writeBucketEncryption"), "Change bucket encryption"},
                {B2Capability("readBucketRetentions"), "Read bucket retention"},
                {B2Capability("writeBucketRetentions"), "Change bucket retention"},
                {B2Capability("readFileRetentions"), "Read file retention"},
                {B2Capability("writeFileRetentions"), "Change file retention"},
                {B2Capability("readFileLegalHolds"), "Read legal holds"},
                {B2Capability("writeFileLegalHolds"), "Change legal holds"},
                {B2Capability("bypassGovernance"), "Bypass governance retention"},
            }},
        {"S3-compatible API",
            {
                {B2Capability("listAllBucketNames"), "List all bucket names"},
                {B2Capability("readBuckets"), "Read bucket details"},
                {B2Capability("readBucketLogging"), "Read access log settings"},
                {B2Capability("writeBucketLogging"), "Change access log settings"},
            }},
    };
    return all;
}

std::string title(const B2Capability& capability)
{
    for (const auto& group : groups()) {
        const auto item = std::ranges::find(group.items, capability, &Item::capability);
        if (item != group.items.end())
            return std::string(item->title);
    }
    return capability.rawValue;
}

} // namespace KeyPermissions
