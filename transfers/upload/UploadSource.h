#pragma once

#include "foundation/BytesFate.h"

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

/// A file to send, as it was when it was looked at.
struct UploadSource {
    std::filesystem::path path;
    std::int64_t byteCount = 0;
    std::chrono::system_clock::time_point modificationDate;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    bool operator==(const UploadSource&) const = default;
};

/// A time of the file system as a date.
std::chrono::system_clock::time_point toDate(const timespec& time);

/// Looks at a file that is to be sent. Follows links. Blocks.
///
/// @param fate  what earlier attempts have left of it at the service.
/// @returns a failure when it cannot be sent: it is gone, no regular file or not readable.
std::expected<UploadSource, BytesFailure> inspectUploadSource(
    const std::filesystem::path& path, BytesFate fate = BytesFate::nothing());

enum class SourceChange { none, changed, gone };

/// Is it still the file it was, with the same size and date? Blocks.
SourceChange compare(const UploadSource& source);

/// The type the file's extension stands for, or "b2/x-auto", which lets the service choose. Reads no file content, but
/// the first call reads the system's list of types. From any thread.
std::string contentTypeFor(const std::filesystem::path& path);

/// The name at the service: the prefix and the file's name, byte for byte.
///
/// @returns a failure for a name the service does not take.
std::expected<std::string, BytesFailure> uploadName(std::string_view prefix, const std::filesystem::path& path);
