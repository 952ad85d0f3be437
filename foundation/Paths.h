#pragma once

#include <filesystem>
#include <system_error>

/// Where the program keeps its files, following the XDG base directories. These functions create nothing.

std::filesystem::path configDirectory();    ///< Settings: "~/.config/kestrovan".
std::filesystem::path stateDirectory();     ///< The log and other state: "~/.local/state/kestrovan".
std::filesystem::path dataDirectory();      ///< The user's own records: "~/.local/share/kestrovan".
std::filesystem::path cacheDirectory();     ///< Files that may be lost at any time: "~/.cache/kestrovan".
std::filesystem::path downloadsDirectory(); ///< The user's folder for downloads.

/// Creates a directory and its missing parents, for the owner alone (0700). Blocks.
///
/// @returns no error when it exists already, whatever its mode.
std::error_code makePrivateDirectory(const std::filesystem::path& directory);
