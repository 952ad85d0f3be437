#pragma once

#include <filesystem>
#include <string_view>

/// A note on the disk that names the folder a folder download is writing to, so that the next start of the program can
/// remove what a kill has left there. Removed with this object.
///
/// Blocks. Never fails: without a note, a dot-file may stay behind after a kill.
class DownloadMark {
public:
    /// @param directory  of the notes of all downloads; made when it is missing.
    explicit DownloadMark(const std::filesystem::path& directory);
    DownloadMark(const DownloadMark&) = delete;
    DownloadMark& operator=(const DownloadMark&) = delete;
    ~DownloadMark();

    /// Called before the first temporary file is made in a folder.
    /// @param relativePath  of a folder below the top, or nothing for the top itself.
    void set(const std::filesystem::path& top, std::string_view relativePath);

private:
    std::filesystem::path path_;
    int descriptor_ = -1;
};

/// Returns the directory of this user's notes.
std::filesystem::path downloadMarkDirectory();

/// Removes the temporary files that killed processes have left in the folders they noted, and those notes. Files of
/// running processes stay. Follows no link below a download's top folder. Blocks; never fails.
///
/// @returns the number of temporary files removed.
int removeFilesOfKilledDownloads(const std::filesystem::path& directory);
