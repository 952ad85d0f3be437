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

/// The local source of a started large file, so that a later run of the program can resume it.
struct ResumableUpload {
    std::string fileID; ///< Identifies the record.
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
/// Lives on the main thread and never blocks it: reads come from memory, writes follow in order on another thread. A
/// failed write is reported only to the system log; the upload goes on without it.
class ResumeStore {
public:
    /// Opens or creates the database.
    /// @returns null when it cannot be opened: then later runs cannot resume anything.
    static Task<std::unique_ptr<ResumeStore>> open(std::filesystem::path file);
    ~ResumeStore();

    /// Does nothing for an empty path or a known file id. Sets `startedAt` to now.
    void record(ResumableUpload upload);
    std::optional<ResumableUpload> upload(const std::string& fileID) const;
    /// All of them, by file id.
    std::vector<ResumableUpload> uploads() const;
    void remove(const std::string& fileID);

    /// Ends when every change so far is on the disk or has failed.
    Task<> flush();

private:
    class Database;

    explicit ResumeStore(std::shared_ptr<Database> database);

    std::shared_ptr<Database> database_;
};
