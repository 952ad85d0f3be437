#pragma once

#include "transfers/Transfer.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

/// A regular file in a folder that is to be sent.
struct FoundFile {
    std::string relativePath; ///< Below the folder, byte for byte.
    std::int64_t size = 0;
    std::chrono::system_clock::time_point modificationDate;

    bool operator==(const FoundFile&) const = default;
};

/// Items of a folder that cannot be stored in a bucket. Only the first are named, to bound the memory.
struct LeftOut {
    static constexpr std::size_t maxNamed = 1000;

    std::vector<FileProblem> named; ///< The first of them, each with its reason.
    std::int64_t count = 0;         ///< Including those not named.

    void add(std::string relativePath, std::string reason);
};

/// The contents of a folder.
struct FolderScan {
    /// Sorted by name within each folder; a folder's own files come before those of its subfolders.
    std::vector<FoundFile> files;
    /// Files that cannot be sent. They are in no other list.
    std::vector<FileProblem> refusedFiles;
    /// Folders that could not be read, each with only the cause; "" is the folder itself.
    std::vector<FileProblem> unreadableFolders;
    LeftOut passedOver;         ///< Links, devices, pipes and sockets.
    LeftOut emptyFolders;       ///< Below the folder.
    std::int64_t byteCount = 0; ///< Of `files`.
};

/// Scans a folder, including hidden files. Follows no link below the folder. Blocks; a stop ends it early with a
/// partial result.
///
/// @param prefix  precedes the relative path in the name at the service.
/// @param onFound  called with the bytes found so far, every few milliseconds, on the calling thread.
FolderScan scanFolder(const std::filesystem::path& folder, const std::string& prefix, const std::stop_token& stop = {},
    const std::function<void(std::int64_t byteCount)>& onFound = {});
