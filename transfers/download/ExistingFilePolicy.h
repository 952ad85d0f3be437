#pragma once

#include <array>
#include <string_view>

class Settings;

/// How a download treats an existing file of its name.
enum class ExistingFilePolicy { keepBoth, replace, skip };

inline constexpr std::array existingFilePolicies{
    ExistingFilePolicy::keepBoth, ExistingFilePolicy::replace, ExistingFilePolicy::skip};

/// "keepBoth", "replace" or "skip": the text in the settings.
std::string_view rawValue(ExistingFilePolicy policy);

/// "Keep both", "Replace it" or "Skip the download".
std::string_view title(ExistingFilePolicy policy);

/// The user's choice; an absent or unknown one is `keepBoth`.
ExistingFilePolicy currentExistingFilePolicy(const Settings& settings);
