#pragma once

#include "transfers/ExistingFilePolicy.h"

#include <expected>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

/// Where a download goes.
struct DestinationChoice {
    std::filesystem::path target;
    /// Set when the download is left out because this file is there already.
    std::optional<std::filesystem::path> skippedFor;

    bool operator==(const DestinationChoice&) const = default;
};

/// The paths that downloads on their way will take. From any thread.
class ReservedPaths : public std::enable_shared_from_this<ReservedPaths> {
public:
    /// Gives its path back at its end.
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
    bool isDefault = false; ///< The user has chosen none: the folder is made when it is missing.

    bool operator==(const DownloadFolder&) const = default;
};

struct PreparedDestination {
    DestinationChoice choice;
    std::optional<ReservedPaths::Reservation> reservation; ///< Held while the download runs.
    bool isShortened = false;                              ///< The disk does not take a name that long.
};

/// Looks at the folder and settles where a file is saved. Blocks.
///
/// A name that a running download will take is never taken twice, whatever the policy: the later file gets a number.
///
/// @returns a sentence when nothing can be saved there.
std::expected<PreparedDestination, std::string> prepareDestination(
    const DownloadFolder& folder, const std::string& name, ExistingFilePolicy policy, ReservedPaths& reserved);
