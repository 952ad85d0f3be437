#pragma once

#include "B2Kit/files/B2Folder.h"

#include <filesystem>
#include <string>
#include <string_view>

// A download arrives in a dot-file beside its destination. Its name marks it as ours, so that files left by a killed
// program can be told from the user's own.

inline constexpr std::string_view temporaryNamePrefix = ".kestrovan-";
inline constexpr std::string_view temporaryNameSuffix = ".part";

/// Returns a fresh name: the prefix, 16 random hexadecimal digits, the suffix.
std::string makeTemporaryName();

/// Does the file name have exactly the form of `makeTemporaryName`?
bool isTemporaryName(std::string_view fileName);

/// Marks an open temporary file as one that is being written, until it is closed or its program has ended.
///
/// @returns false when a clean-up has already removed it as abandoned.
bool holdTemporaryFile(int descriptor);

/// Removes the temporary files that killed programs of this user have left in the folder itself.
/// Blocks; never fails.
///
/// @returns the number of removed files.
int removeAbandonedFiles(const B2Folder& folder);
int removeAbandonedFiles(const std::filesystem::path& folder);
