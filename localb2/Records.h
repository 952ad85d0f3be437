#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace localb2 {

/// Milliseconds since 1970 UTC, as B2 counts time.
using Milliseconds = std::int64_t;
inline constexpr Milliseconds day = 86'400'000;

struct Encryption {
    enum class Mode { none, managed, customer };
    Mode mode = Mode::none;
    std::string customerKeyMD5; ///< Base64; for `customer` only.
};

struct Retention {
    enum class Mode { none, governance, compliance };
    Mode mode = Mode::none;
    Milliseconds until = 0;
};

enum class LegalHold { unset, on, off };

struct Bucket {
    std::int64_t row = 0;
    std::string id;
    std::string accountID;
    std::string name;
    std::string type;
    std::int64_t revision = 2;
    std::string info = "{}"; ///< JSON, as are the next three.
    std::string corsRules = "[]";
    std::string lifecycleRules = "[]";
    std::string replication = "null";
    bool isManagedEncryption = true;
    bool isLockEnabled = false;
    Retention::Mode defaultRetention = Retention::Mode::none;
    std::int64_t retentionDuration = 0;
    std::string retentionUnit; ///< "days" or "years".

    bool isPublic() const { return type == "allPublic"; }
};

struct FileVersion {
    enum class Kind { upload, start, hide };

    std::int64_t bucket = 0;
    std::string name;
    std::int64_t sequence = 0; ///< Counts all versions of the service in order of arrival.
    Kind kind = Kind::upload;
    bool isLarge = false; ///< Begun with `b2_start_large_file`.
    Milliseconds time = 0;
    std::int64_t length = 0;
    std::string sha1; ///< Hex, "unverified:" and hex, or "none".
    std::string md5;  ///< Empty when there is none.
    std::string type;
    std::string info = "{}"; ///< JSON.
    Encryption encryption;
    Retention retention;
    LegalHold hold = LegalHold::unset;
    std::optional<std::int64_t> body; ///< Unset: the content is that of its parts.
};

struct Part {
    std::int64_t file = 0; ///< Sequence of the version it belongs to.
    int number = 0;
    std::int64_t length = 0;
    std::string sha1;
    std::string md5;
    Milliseconds started = 0;
    Milliseconds finished = 0;
    std::int64_t body = 0;
};

struct Account {
    std::string id;
    std::string email;
};

/// The parts of a record that the bearer of a token may read.
struct ReadRights {
    bool fileRetention = true;
    bool legalHold = true;
    bool bucketEncryption = true;
    bool bucketRetention = true;
    bool bucketReplication = true;
};

/// Makes a version that hides a name. It has no sequence yet.
FileVersion hideMarker(const Bucket& bucket, std::string_view name, Milliseconds time);

/// Returns the public id of a version, which carries its sequence and time.
std::string fileIDOf(std::string_view bucketID, const FileVersion& version);

/// Returns the sequence in a file id; nothing when the id is malformed.
std::optional<std::int64_t> sequenceOf(std::string_view fileID);

/// The form of a record for one API version and caller.
struct RecordStyle {
    std::string_view accountID;
    std::string_view bucketID;
    ReadRights rights;
    /// The first version also names the length `size`.
    bool isFirstVersion = false;
    bool areMarkerHashesNull = false;
};

void appendFileRecord(
    std::string& out, const FileVersion& version, const RecordStyle& style, std::string_view action = {});
void appendFolderRecord(std::string& out, std::string_view folder, const RecordStyle& style);
void appendPartRecord(
    std::string& out, const Part& part, std::string_view fileID, const Encryption& encryption, Milliseconds time);
void appendBucketRecord(std::string& out, const Bucket& bucket, const ReadRights& rights);

std::string retentionJSON(const Retention& retention);
std::string encryptionJSON(const Encryption& encryption);
std::string_view modeName(Retention::Mode mode);

} // namespace localb2
