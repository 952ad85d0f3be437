#include "localb2/Capabilities.h"

#include <algorithm>
#include <array>

namespace localb2 {

namespace {

constexpr std::array<std::string_view, 38> capabilityNames = {"listKeys", "writeKeys", "deleteKeys", "listBuckets",
    "listAllBucketNames", "readBuckets", "writeBuckets", "deleteBuckets", "readBucketEncryption",
    "writeBucketEncryption", "readBucketRetentions", "writeBucketRetentions", "readBucketReplications",
    "writeBucketReplications", "readBucketNotifications", "writeBucketNotifications", "readBucketLogging",
    "writeBucketLogging", "readBucketLifecycleRules", "writeBucketLifecycleRules", "readBucketCors", "writeBucketCors",
    "listFiles", "readFiles", "shareFiles", "writeFiles", "deleteFiles", "readFileLegalHolds", "writeFileLegalHolds",
    "readFileRetentions", "writeFileRetentions", "bypassGovernance", "readBucketInfo", "writeBucketInfo",
    "readBucketType", "writeBucketType", "readBucketPolicy", "writeBucketPolicy"};

static_assert(static_cast<std::size_t>(Capability::writeBucketPolicy) + 1 == capabilityNames.size());
static_assert(capabilityNames[static_cast<std::size_t>(Capability::bypassGovernance)] == "bypassGovernance");

} // namespace

Capabilities Capabilities::all()
{
    Capabilities all;
    // The six after this one are not in the vendor's lists, so a master key does not show them.
    for (int i = 0; i <= static_cast<int>(Capability::bypassGovernance); ++i)
        all.add(static_cast<Capability>(i));
    return all;
}

std::optional<Capability> Capabilities::named(std::string_view name)
{
    const auto found = std::ranges::find(capabilityNames, name);
    if (found == capabilityNames.end())
        return std::nullopt;
    return static_cast<Capability>(found - capabilityNames.begin());
}

Capabilities Capabilities::parsed(std::string_view names)
{
    Capabilities parsed;
    while (!names.empty()) {
        const auto end = std::min(names.find(','), names.size());
        if (const auto capability = named(names.substr(0, end)))
            parsed.add(*capability);
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return parsed;
}

std::vector<std::string_view> Capabilities::names() const
{
    std::vector<std::string_view> names;
    for (std::size_t i = 0; i < capabilityNames.size(); ++i) {
        if (has(static_cast<Capability>(i)))
            names.push_back(capabilityNames[i]);
    }
    return names;
}

std::string Capabilities::joined() const
{
    std::string text;
    for (const auto name : names()) {
        text += text.empty() ? "" : ",";
        text += name;
    }
    return text;
}

std::string Capabilities::json() const
{
    std::string text = "[";
    for (const auto name : names()) {
        text += text.size() == 1 ? "\"" : ",\"";
        text += name;
        text += '"';
    }
    return text += ']';
}

} // namespace localb2
