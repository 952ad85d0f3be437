#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// The items of a drop or a file dialog, divided into those that can be uploaded and the others.
struct DroppedItems {
    std::vector<std::filesystem::path> toUpload; ///< Files and folders.
    std::vector<std::string> others;             ///< Names or addresses of all other items.
};

/// Looks at each path on the disk. Blocks, so it is not for the main thread.
///
/// @param elsewhere  addresses of items that are not on this computer.
DroppedItems sortDropped(const std::vector<std::filesystem::path>& paths, std::vector<std::string> elsewhere);

/// Returns a sentence that says which items are not uploaded and why; nothing when all are.
std::optional<std::string> leftOutText(const DroppedItems& items);
