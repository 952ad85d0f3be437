#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Folders of a bucket. Names in a bucket are flat; a folder is the part of a name before a "/". Functions of values.

/// A folder on the way to another.
struct FolderStep {
    std::string name;   ///< May contain any character.
    std::string prefix; ///< With its trailing "/".

    bool operator==(const FolderStep&) const = default;
};

/// Returns the last component of a name, for a folder without the trailing "/".
///
/// A folder whose name is empty, as in "a//", is shown as "/".
std::string lastComponent(std::string_view name);

/// The prefix without its last element: "a/b/" and "a/b" give "a/", "a/" gives "".
std::string parentPrefix(std::string_view prefix);

/// The folders from the root to `prefix`; text after the last "/" is a step of its own.
std::vector<FolderStep> folderSteps(std::string_view prefix);

/// Returns the sub-folder of `folder` that leads to `prefix`, which begins with `folder` and is longer.
std::string folderTowards(std::string_view folder, std::string_view prefix);

/// The folder a typed path means: without a leading "/", with a trailing one.
std::string typedPrefix(std::string_view typed);
