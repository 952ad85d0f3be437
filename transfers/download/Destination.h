#pragma once

#include "B2Kit/files/B2Place.h"
#include "foundation/runs/BytesFate.h"
#include "transfers/download/ExistingFilePolicy.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

/// Where a download goes.
struct DestinationChoice {
    std::filesystem::path target;
    /// Set when the download is left out because this file is there already.
    std::optional<std::filesystem::path> skippedFor;

    bool operator==(const DestinationChoice&) const = default;
};

/// The paths that running downloads will use. May be called from any thread.
class ReservedPaths : public std::enable_shared_from_this<ReservedPaths> {
public:
    /// Releases its path when it is destroyed.
    class Reservation {
    public:
        Reservation(std::shared_ptr<ReservedPaths> owner, std::filesystem::path path);
        Reservation(Reservation&&) noexcept = default;
        Reservation& operator=(Reservation&& other) noexcept
        {
            std::swap(owner_, other.owner_);
            std::swap(path_, other.path_);
            return *this;
        }
        ~Reservation();

    private:
        std::shared_ptr<ReservedPaths> owner_;
        std::filesystem::path path_;
    };

    /// @returns nothing when the path is taken.
    std::optional<Reservation> reserve(const std::filesystem::path& path);

private:
    std::mutex mutex_;
    std::set<std::filesystem::path> paths_;
};

/// The folder that downloads go to.
struct DownloadFolder {
    std::filesystem::path path;
    bool isDefault = false; ///< The user has chosen none: the folder is created when it is missing.

    bool operator==(const DownloadFolder&) const = default;
};

/// Identifies a file whatever its name: device and inode.
using FileIdentity = std::pair<std::uint64_t, std::uint64_t>;

/// The files that a run has saved.
using LandedFiles = std::set<FileIdentity>;

/// Returns the identity of the file at a place. Follows no link. Blocks.
std::optional<FileIdentity> identityAt(const B2Place& place);

/// Numbers a name until it is free, and reserves it. Blocks; for one thread at a time.
class NumberedPlaces {
public:
    NumberedPlaces(B2Place plain, std::size_t nameLimit, std::shared_ptr<ReservedPaths> reserved);

    /// Reserves the plain path. @returns false when a running download will take it.
    bool takePlain();

    /// Reserves the next free path; nothing when all numbers are taken.
    std::optional<std::filesystem::path> takeNext();

    /// The path taken last.
    const B2Place& place() const { return place_; }

private:
    const B2Place plain_;
    const std::size_t nameLimit_;
    const std::shared_ptr<ReservedPaths> reserved_;
    B2Place place_;
    std::set<std::string> tried_;
    std::optional<ReservedPaths::Reservation> reservation_;
};

/// A settled destination.
struct PreparedDestination {
    DestinationChoice choice;
    std::shared_ptr<const B2Folder> folder;  ///< The target's parent, held open where permissions allow.
    std::shared_ptr<NumberedPlaces> numbers; ///< Held while the download runs: it keeps the reservation.
    bool isShortened = false;                ///< The name was too long for the disk.
    bool isTwin = false;                     ///< The disk treats the name as that of another file of the same run.
    bool replaces = false;                   ///< An existing file is replaced; otherwise the next number is taken.
};

/// Decides where in the folder a file is saved. Blocks.
///
/// Whatever the policy, no name is given to two running downloads: the later one gets a number.
///
/// @returns a failure when nothing can be saved there.
std::expected<PreparedDestination, BytesFailure> prepareDestination(
    const DownloadFolder& folder, const std::string& name, ExistingFilePolicy policy, ReservedPaths& reserved);

/// The same in a folder that is open already.
///
/// @param landed  files of this run, which are never replaced and cause no skip. May be null.
PreparedDestination settleDestination(std::shared_ptr<const B2Folder> folder, const std::string& name,
    ExistingFilePolicy policy, ReservedPaths& reserved, const LandedFiles* landed);

/// Returns why nothing can be saved in the folder, as a clause: "is not a folder any more". Blocks.
std::optional<std::string> folderProblem(const DownloadFolder& folder);

/// Describes the failure of a download into a folder that cannot be used.
///
/// @param problem  a clause: "is not a folder any more".
BytesFailure folderFailure(const DownloadFolder& folder, std::string_view problem);

/// Returns how many bytes a name may have there. Blocks.
std::size_t longestNameIn(const B2Folder& folder);
