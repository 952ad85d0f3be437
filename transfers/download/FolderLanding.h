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

/// The local folder that receives the files of one folder download. No name from the service leads out of it: it is
/// held open, and no link below it is followed.
///
/// Every function blocks. Used by one file after another, on any thread.
class FolderLanding {
public:
    struct Parts {
        DownloadFolder destination;
        std::string name; ///< The wanted name of the folder.
        /// The name that an earlier attempt used.
        std::optional<std::string> earlierName;
        std::shared_ptr<LandedFiles> landed; ///< By earlier attempts.
        std::filesystem::path markDirectory;
    };

    /// Opens the folder, and creates it when it is missing. It gets a number where a file or a link has its name.
    /// @returns a failure when nothing can be saved there; it knows nothing of earlier attempts.
    static std::expected<std::shared_ptr<FolderLanding>, BytesFailure> open(Parts parts);

    const std::filesystem::path& path() const { return top_->path(); }
    std::string name() const { return path().filename().string(); }

    /// Decides where a file is saved, and creates the folders above it.
    /// @param relativePath  checked by `guardedName`.
    /// @returns a failure when it cannot be saved.
    std::expected<PreparedDestination, BytesFailure> prepare(
        const std::string& relativePath, ExistingFilePolicy policy, ReservedPaths& reserved);

    /// Remembers a saved file, so that no later one replaces it.
    void noteLanded(const B2Place& place);

    /// Does the path, which is absolute and was in this folder, still hold a file of that size?
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
