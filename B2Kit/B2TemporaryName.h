#pragma once

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
