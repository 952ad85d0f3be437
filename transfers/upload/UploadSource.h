#pragma once

#include "foundation/runs/BytesFate.h"

#include <chrono>
#include <cstdint>
#include <ctime>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Files from this size on are sent in parts.
inline constexpr std::int64_t largeFileThreshold = 100'000'000;

/// A file to send, as it was when it was inspected.
struct UploadSource {
    std::filesystem::path path;
    std::int64_t byteCount = 0;
    std::chrono::system_clock::time_point modificationDate;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    bool operator==(const UploadSource&) const = default;
};

/// Converts a time of the file system.
std::chrono::system_clock::time_point toDate(const timespec& time);

/// Inspects a file before it is sent. Follows links. Blocks.
///
/// @param fate  of its bytes in earlier attempts.
/// @returns a failure when it cannot be sent: it is gone, unreadable or not a regular file.
std::expected<UploadSource, BytesFailure> inspectUploadSource(
    const std::filesystem::path& path, BytesFate fate = BytesFate::nothing());

enum class SourceChange { none, changed, gone };

/// Compares the file with its present state on the disk: identity, size and date. Blocks.
SourceChange compare(const UploadSource& source);

/// Returns the MIME type for the file's extension, or "b2/x-auto", which lets the service choose. Reads no file
/// content, but the first call reads the system's list of types. May be called from any thread.
std::string contentTypeFor(const std::filesystem::path& path);

/// Returns the name at the service: the prefix and the file's name, byte for byte.
///
/// @returns a failure for a name the service does not take.
std::expected<std::string, BytesFailure> uploadName(std::string_view prefix, const std::filesystem::path& path);
