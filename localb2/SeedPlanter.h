#pragma once

#include "localb2/Core.h"
#include "localb2/FileTraits.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace localb2 {

/// Puts buckets, files and keys into the database, without checks and with any upload time. Part of a transaction.
class SeedPlanter {
public:
    SeedPlanter(Core& core, std::string accountID);

    struct File {
        std::string name;
        std::string bytes;
        Milliseconds time = 0;
        std::string type = "b2/x-auto";
        std::map<std::string, std::string> info;
        Retention retention;
        LegalHold hold = LegalHold::unset;
    };

    /// Fills in id and account.
    Bucket addBucket(Bucket bucket);

    /// Equal contents are stored once.
    void addFile(const Bucket& bucket, const File& file);
    void hide(const Bucket& bucket, std::string_view name, Milliseconds time);

    /// A large file with parts of these numbers, each with the bytes; finished when asked.
    void addLargeFile(const Bucket& bucket, const File& file, const std::vector<int>& partNumbers, bool isFinished);

    /// Fills in account, id and secret.
    Key addKey(Key key);

    /// Returns a time that many days ago, at some second of that day; the same for the same arguments and start of the
    /// service.
    Milliseconds daysAgo(std::int64_t days, std::int64_t salt = 0) const;

private:
    struct Kept {
        std::int64_t body = 0;
        Digests::Hex hashes;
    };
    Kept keep(const std::string& bytes);
    FileVersion versionOf(const Bucket& bucket, const File& file) const;

    Core& core_;
    std::string accountID_;
    Milliseconds now_;
    std::map<std::string, Kept> kept_; ///< By SHA-1.
};

} // namespace localb2
