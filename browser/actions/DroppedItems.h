#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// What a drop or a dialog offered for upload, sorted by what can be done with it.
struct DroppedItems {
    std::vector<std::filesystem::path> toUpload; ///< Files and folders.
    std::vector<std::string> others;             ///< Names or addresses of what is neither, or not on this computer.
};

/// Looks at each path on the disk, which may block: not for the main thread.
///
/// @param elsewhere  addresses of what is not on this computer.
DroppedItems sortDropped(const std::vector<std::filesystem::path>& paths, std::vector<std::string> elsewhere);

/// What was left out of an upload and why, as a sentence; nothing when all of it goes.
std::optional<std::string> leftOutText(const DroppedItems& items);
