#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

/// Replaces a file in one step by one that only its owner can read (0600), after that was synced to the disk.
///
/// A link is followed, so that its target is replaced. After a failure the file is unchanged. Blocks. Two writers must
/// not replace the same file at once.
std::error_code replaceFile(const std::filesystem::path& file, std::string_view content);
