#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

/// Replaces a file in one step with one that only its owner can read (0600). The content reaches the disk first.
///
/// Follows a link and replaces the file it leads to. After a failure the file is as it was. Blocks.
/// Two writers of one file need a lock around the call (`FileLock`).
std::error_code replaceFile(const std::filesystem::path& file, std::string_view content);
