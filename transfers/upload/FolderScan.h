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

/// What a folder holds that no bucket can. Thousands of links and the like are not worth their memory.
struct LeftOut {
    static constexpr std::size_t mostNamed = 1000;

    std::vector<FileProblem> named; ///< The first of them, each with its reason.
    std::int64_t count = 0;         ///< Of all.

    void add(std::string relativePath, std::string reason);
};

/// What a folder holds.
struct FolderScan {
    /// By name within each folder, a folder's own files before those of its subfolders.
    std::vector<FoundFile> files;
    /// Files that cannot have their name at the service. They are in no other list.
    std::vector<FileProblem> refusedFiles;
    /// Folders that could not be looked into, each with the cause alone; "" is the folder itself.
    std::vector<FileProblem> unreadableFolders;
    LeftOut passedOver;         ///< Links, devices, pipes and sockets.
    LeftOut emptyFolders;       ///< Below the folder; those that hold nothing at all.
    std::int64_t byteCount = 0; ///< Of `files`.
};

/// Looks through a folder, hidden files included. No link below the folder is followed. Blocks; a stop ends it early
/// with what it has.
///
/// @param prefix  what goes before the relative path in the name at the service.
/// @param onFound  told the bytes found so far, every few milliseconds, on the calling thread.
FolderScan scanFolder(const std::filesystem::path& folder, const std::string& prefix, const std::stop_token& stop = {},
    const std::function<void(std::int64_t byteCount)>& onFound = {});
