#pragma once

#include "async/Task.h"
#include "transfers/upload/SourceBookmark.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Which local file a started large file comes from, so that a later run of the program can go on with it.
struct ResumableUpload {
    std::string fileID; ///< The natural key.
    std::string bucketID;
    std::string remoteName;
    std::int64_t byteCount = 0; ///< Of the source when the upload began.
    SourceBookmark source;      ///< The source when the upload began.
    std::string sha1;           ///< The whole-file checksum it was started with; empty without one.
    std::chrono::system_clock::time_point startedAt;

    bool operator==(const ResumableUpload&) const = default;
};

/// The large uploads that were started on this machine and not finished yet.
///
/// Lives on the main thread, which it never makes wait: reads come from memory, writes follow in their order on a
/// thread of their own. What cannot be written is written to the system log alone; the upload goes on without it.
class ResumeStore {
public:
    /// Opens or creates the database.
    /// @returns nothing when it cannot be opened: then nothing can be resumed in a later run.
    static Task<std::unique_ptr<ResumeStore>> open(std::filesystem::path file);
    ~ResumeStore();

    /// Does nothing for an empty path, and nothing when the file id is known. `startedAt` is set to now.
    void record(ResumableUpload upload);
    std::optional<ResumableUpload> upload(const std::string& fileID) const;
    /// All of them, by file id.
    std::vector<ResumableUpload> uploads() const;
    void remove(const std::string& fileID);

    /// Ends when all that was asked for so far is on the disk, or has failed.
    Task<> flush();

private:
    class Database;

    explicit ResumeStore(std::shared_ptr<Database> database);

    std::shared_ptr<Database> database_;
};
