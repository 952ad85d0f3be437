#pragma once

#include "localb2/Database.h"
#include "localb2/Records.h"

#include <optional>
#include <string_view>
#include <vector>

namespace localb2 {

/// Every version, hide marker and unfinished large file, with the parts of large ones.
class VersionTable {
public:
    explicit VersionTable(Database& database);

    /// Gives the version its sequence.
    void insert(FileVersion& version);
    /// Writes what may change later: kind, length, hashes, info, lock, body.
    void update(const FileVersion& version);
    void erase(const FileVersion& version);

    std::optional<FileVersion> bySequence(std::int64_t sequence) const;
    /// The newest one that is not an unfinished large file.
    std::optional<FileVersion> newest(std::int64_t bucket, std::string_view name) const;
    bool isBucketEmpty(std::int64_t bucket) const;

    void insertPart(const Part& part);
    void erasePart(const Part& part);
    void eraseParts(std::int64_t file);
    std::optional<Part> part(std::int64_t file, int number) const;
    /// Ascending from the number on.
    std::vector<Part> parts(std::int64_t file, int firstNumber = 1, int limit = 10000) const;

    /// Unfinished large files by name, then time.
    std::vector<FileVersion> unfinished(
        std::int64_t bucket, std::string_view prefix, const FileVersion* start, int limit) const;

private:
    Database& database_;
    std::int64_t lastSequence_ = 0;
};

/// Walks a bucket's versions as listings order them, and can leap ahead.
class VersionCursor {
public:
    VersionCursor(Database& database, std::int64_t bucket);

    /// Goes to the first version at or after this name and sequence; the newest of the name by default.
    void seek(std::string_view name, std::optional<std::int64_t> sequence = {});
    /// From a version of the name: goes past all of them.
    void skipName(std::string_view name);
    /// Goes past every name that begins with the prefix.
    void seekAfterPrefix(std::string_view prefix);

    bool isAtEnd() const { return isAtEnd_; }
    void advance() { isAtEnd_ = !query_.next(); }

    /// Valid until the cursor moves.
    std::string_view name() const { return query_.text(1); }
    /// Fills a record whose memory is used again from row to row.
    void read(FileVersion& version) const;

private:
    std::int64_t bucket_;
    Query query_;
    bool isAtEnd_ = true;
};

} // namespace localb2
