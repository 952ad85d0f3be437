#pragma once

#include <filesystem>
#include <string_view>

/// A note on the disk of the folder in which a download of many files is writing now, so that the next start of the
/// program finds there what a kill has left. Gone with this object.
///
/// Blocks. Never fails: a note that cannot be written only leaves a dot-file lying after a kill.
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

/// Where the notes of this user are.
std::filesystem::path downloadMarkDirectory();

/// Removes the temporary files that killed programs have left in the folders of their notes, and those notes. What a
/// running program writes stays. No link below a download's top is followed. Blocks; never fails.
///
/// @returns how many temporary files have gone.
int removeFilesOfKilledDownloads(const std::filesystem::path& directory);
