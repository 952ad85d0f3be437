#pragma once

#include "B2Kit/files/B2Place.h"
#include "transfers/download/Destination.h"
#include "transfers/download/DownloadMark.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

/// The local folder in which the files of one folder download land. Names of the service never lead out of it: it is
/// held open, and no link below it is followed.
///
/// Every function blocks. Used by one file after another, on any thread.
class FolderLanding {
public:
    struct Parts {
        DownloadFolder destination;
        std::string name; ///< Wanted for the folder.
        /// The name an earlier attempt was given.
        std::optional<std::string> earlierName;
        std::shared_ptr<LandedFiles> landed; ///< By earlier attempts.
        std::filesystem::path markDirectory;
    };

    /// Opens the folder and makes it when it is missing. Where a file or a link has its name, it gets a number.
    /// @returns a failure when nothing can be saved there; it knows nothing of earlier attempts.
    static std::expected<std::shared_ptr<FolderLanding>, BytesFailure> open(Parts parts);

    const std::filesystem::path& path() const { return top_->path(); }
    std::string name() const { return path().filename().string(); }

    /// Settles where a file is saved, and makes the folders above it.
    /// @param relativePath  guarded.
    /// @returns a failure when it cannot be saved.
    std::expected<PreparedDestination, BytesFailure> prepare(
        const std::string& relativePath, ExistingFilePolicy policy, ReservedPaths& reserved);

    /// Remembers what has landed, so that nothing later replaces it.
    void noteLanded(const B2Place& place);

    /// Is a file of that size at the path, which is absolute and was of this folder?
    bool holds(const std::filesystem::path& file, std::int64_t byteCount) const;

private:
    FolderLanding(std::shared_ptr<const B2Folder> top, Parts parts);

    B2Folder::Result folderOf(const std::string& relativeFolder);

    const std::shared_ptr<const B2Folder> top_;
    const std::shared_ptr<LandedFiles> landed_;
    DownloadMark mark_;
    std::string currentFolder_; ///< Relative path of `current_`.
    std::shared_ptr<const B2Folder> current_;
};
