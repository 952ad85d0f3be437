#pragma once

#include "B2Kit/files/B2Folder.h"

#include <fcntl.h>

#include <filesystem>
#include <memory>
#include <utility>

/// The place for a file: a path, or the same path as a name in an open folder, which then leads nowhere else.
struct B2Place {
    B2Place() = default;
    // A path alone is a place.
    B2Place(std::filesystem::path file, std::shared_ptr<const B2Folder> openFolder = {}) // NOLINT
        : path(std::move(file))
        , folder(std::move(openFolder))
    {
    }

    std::filesystem::path path;
    std::shared_ptr<const B2Folder> folder; ///< The path's parent, where it is held open.

    /// The base of `relative` and `relativeFolder`, for `openat` and similar calls.
    int base() const { return folder ? folder->descriptor() : AT_FDCWD; }
    std::filesystem::path relative() const { return folder ? path.filename() : path; }
    std::filesystem::path relativeFolder() const
    {
        return folder || !path.has_parent_path() ? std::filesystem::path(".") : path.parent_path();
    }

    B2Place beside(const std::filesystem::path& name) const { return {path.parent_path() / name, folder}; }
};
