#include "transfers/download/ExistingFilePolicy.h"

#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"

std::string_view rawValue(ExistingFilePolicy policy)
{
    switch (policy) {
    case ExistingFilePolicy::keepBoth:
        return "keepBoth";
    case ExistingFilePolicy::replace:
        return "replace";
    case ExistingFilePolicy::skip:
        return "skip";
    }
    return {};
}

std::string_view title(ExistingFilePolicy policy)
{
    switch (policy) {
    case ExistingFilePolicy::keepBoth:
        return "Keep both";
    case ExistingFilePolicy::replace:
        return "Replace it";
    case ExistingFilePolicy::skip:
        return "Skip the download";
    }
    return {};
}

ExistingFilePolicy currentExistingFilePolicy(const Settings& settings)
{
    const auto stored = settings.text(SettingsKeys::existingFilePolicy);
    for (const auto policy : existingFilePolicies) {
        if (stored == rawValue(policy))
            return policy;
    }
    return ExistingFilePolicy::keepBoth;
}
