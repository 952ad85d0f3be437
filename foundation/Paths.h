#pragma once

#include <filesystem>
#include <system_error>

/// Where the program keeps its things, after the XDG base directories. Nothing is created by asking.

std::filesystem::path configDirectory();    ///< Settings: "~/.config/kestrovan".
std::filesystem::path stateDirectory();     ///< The log and what else is worth keeping: "~/.local/state/kestrovan".
std::filesystem::path dataDirectory();      ///< The user's own records: "~/.local/share/kestrovan".
std::filesystem::path cacheDirectory();     ///< What may be lost at any time: "~/.cache/kestrovan".
std::filesystem::path downloadsDirectory(); ///< The user's folder for downloads.

/// Creates a directory, with what is missing above it, for the owner alone (0700). Blocks.
///
/// @returns no error when it stands already, whatever its mode.
std::error_code makePrivateDirectory(const std::filesystem::path& directory);
