#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

/// Replaces a file in one step by one that only its owner can read (0600), written through to the disk before.
///
/// A link is followed, so that the file it leads to is replaced. After a failure the file is as it was. Blocks.
/// Not for two writers of one file at once.
std::error_code replaceFile(const std::filesystem::path& file, std::string_view content);
