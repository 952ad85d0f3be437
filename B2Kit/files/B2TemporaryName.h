#pragma once

#include "B2Kit/files/B2Folder.h"

#include <filesystem>
#include <string>
#include <string_view>

// A download arrives in a dot-file beside its destination. The name says whose it is, so that what a killed program
// has left can be told from the user's own files.

inline constexpr std::string_view temporaryNamePrefix = ".kestrovan-";
inline constexpr std::string_view temporaryNameSuffix = ".part";

/// A fresh name: the prefix, 16 random hexadecimal digits, the suffix.
std::string makeTemporaryName();

/// Does the file name have exactly the form of `makeTemporaryName`?
bool isTemporaryName(std::string_view fileName);

/// Marks an open temporary file as one that is being written, until it is closed or its program has ended.
///
/// @returns false when it was taken for abandoned before: then it is gone.
bool holdTemporaryFile(int descriptor);

/// Removes what killed programs of this user have left in the folder itself: files of such a name that nobody holds.
/// Blocks; never fails.
///
/// @returns how many files have gone.
int removeAbandonedFiles(const B2Folder& folder);
int removeAbandonedFiles(const std::filesystem::path& folder);
