#pragma once

#include "transfers/Transfer.h"
#include "transfers/download/Destination.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

/// The files that earlier attempts at a folder have done, so that a retry does only the rest. Used on the main thread.
struct FolderProgress {
    struct Done {
        std::int64_t byteCount = 0;
        /// For an upload: of the source. For a download: when the file was uploaded.
        std::chrono::system_clock::time_point modificationDate;
        std::filesystem::path landed; ///< Of a download.
    };

    std::map<std::string, Done> done; ///< By relative path.
    /// Children that did not finish but may have left something at the service, by relative path.
    std::map<std::string, std::shared_ptr<Transfer>> interrupted;
    /// The name of a download's local folder, and the files that have landed in it.
    std::optional<std::string> localFolder;
    std::shared_ptr<LandedFiles> landed = std::make_shared<LandedFiles>();

    /// Has an earlier attempt done the file as it is now?
    bool isDone(const std::string& relativePath, std::int64_t byteCount,
        std::chrono::system_clock::time_point modificationDate) const
    {
        const auto known = done.find(relativePath);
        return known != done.end() && known->second.byteCount == byteCount
            && known->second.modificationDate == modificationDate;
    }
};
