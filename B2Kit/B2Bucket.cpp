#include "B2Kit/B2Bucket.h"

#include "B2Kit/wire/B2Fields.h"

#include <algorithm>

namespace {

std::string text(const std::optional<B2DefaultRetention::Period>& period)
{
    if (!period)
        return "an unstated period";
    auto unit = period->unit;
    if (unit.ends_with('s'))
        unit.pop_back();
    if (period->duration != 1)
        unit += 's';
    return std::to_string(period->duration) + " " + unit;
}

} // namespace

bool B2Bucket::isS3Enabled() const
{
    return std::ranges::count(options, "s3") > 0;
}

std::optional<std::string> B2Bucket::fileLockSummary() const
{
    if (!fileLock)
        return std::nullopt;
    const auto* configuration = fileLock->value();
    if (!configuration)
        return "This key cannot read the Object Lock setting, so Kestrovan cannot say whether this bucket is locked.";
    if (!configuration->isFileLockEnabled)
        return std::nullopt;
    const auto& retention = configuration->defaultRetention;
    if (!retention || !retention->mode)
        return "Object Lock is on, but no default retention is set, so new files are not protected.";
    const auto* mode = *retention->mode == B2DefaultRetention::Mode::governance ? "governance" : "compliance";
    return std::string("Object Lock is on. New files are locked in ") + mode + " mode for " + text(retention->period)
        + ".";
}

const std::set<std::string_view>& B2Bucket::knownKeys()
{
    static const auto keys = std::apply(
        [](const auto&... field) { return std::set<std::string_view>{field.key...}; }, B2Fields<B2Bucket>::list);
    return keys;
}
