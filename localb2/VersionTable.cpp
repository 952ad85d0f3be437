#include "localb2/VersionTable.h"

#include <limits>

namespace localb2 {

namespace {

#define VERSION_COLUMNS                                                                                                \
    "bucket, name, place, kind, large, time, length, sha1, md5, type, info, encryption, keyMD5, retention, until, "    \
    "hold, body"

void readVersion(const Query& row, FileVersion& version)
{
    version.bucket = row.integer(0);
    version.name = row.text(1);
    version.sequence = -row.integer(2);
    version.kind = static_cast<FileVersion::Kind>(row.integer(3));
    version.isLarge = row.integer(4) != 0;
    version.time = row.integer(5);
    version.length = row.integer(6);
    version.sha1 = row.text(7);
    version.md5 = row.text(8);
    version.type = row.text(9);
    version.info = row.text(10);
    version.encryption.mode = static_cast<Encryption::Mode>(row.integer(11));
    version.encryption.customerKeyMD5 = row.text(12);
    version.retention.mode = static_cast<Retention::Mode>(row.integer(13));
    version.retention.until = row.integer(14);
    version.hold = static_cast<LegalHold>(row.integer(15));
    version.body = row.optionalInteger(16);
}

std::optional<FileVersion> onlyVersion(Query&& query)
{
    if (!query.next())
        return std::nullopt;
    FileVersion version;
    readVersion(query, version);
    return version;
}

Part partOf(const Query& row)
{
    return {
        .file = row.integer(0),
        .number = static_cast<int>(row.integer(1)),
        .length = row.integer(2),
        .sha1 = std::string(row.text(3)),
        .md5 = std::string(row.text(4)),
        .started = row.integer(5),
        .finished = row.integer(6),
        .body = row.integer(7),
    };
}

// No UTF-8 text has this byte, so the prefix followed by it sorts after everything that begins with the prefix.
constexpr char beyondUTF8 = '\xff';

} // namespace

VersionTable::VersionTable(Database& database)
    : database_(database)
{
    Query newest(database_, "SELECT min(place) FROM versions");
    if (newest.next())
        lastSequence_ = -newest.integer(0);
}

void VersionTable::insert(FileVersion& version)
{
    version.sequence = ++lastSequence_;
    Query(database_,
        "INSERT INTO versions (" VERSION_COLUMNS ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        version.bucket, Bytes{version.name}, -version.sequence, static_cast<int>(version.kind), version.isLarge,
        version.time, version.length, version.sha1, version.md5, version.type, version.info,
        static_cast<int>(version.encryption.mode), version.encryption.customerKeyMD5,
        static_cast<int>(version.retention.mode), version.retention.until, static_cast<int>(version.hold), version.body)
        .run();
}

void VersionTable::update(const FileVersion& version)
{
    Query(database_,
        "UPDATE versions SET kind = ?, length = ?, sha1 = ?, md5 = ?, info = ?, retention = ?, until = ?, hold = ?, "
        "body = ? WHERE bucket = ? AND name = ? AND place = ?",
        static_cast<int>(version.kind), version.length, version.sha1, version.md5, version.info,
        static_cast<int>(version.retention.mode), version.retention.until, static_cast<int>(version.hold), version.body,
        version.bucket, Bytes{version.name}, -version.sequence)
        .run();
}

void VersionTable::erase(const FileVersion& version)
{
    Query(database_, "DELETE FROM versions WHERE bucket = ? AND name = ? AND place = ?", version.bucket,
        Bytes{version.name}, -version.sequence)
        .run();
}

std::optional<FileVersion> VersionTable::bySequence(std::int64_t sequence) const
{
    return onlyVersion(Query(database_, "SELECT " VERSION_COLUMNS " FROM versions WHERE place = ?", -sequence));
}

std::optional<FileVersion> VersionTable::newest(std::int64_t bucket, std::string_view name) const
{
    return onlyVersion(Query(database_,
        "SELECT " VERSION_COLUMNS " FROM versions WHERE bucket = ? AND name = ? AND kind != 1 ORDER BY place LIMIT 1",
        bucket, Bytes{name}));
}

bool VersionTable::isBucketEmpty(std::int64_t bucket) const
{
    Query any(database_, "SELECT 1 FROM versions WHERE bucket = ? LIMIT 1", bucket);
    return !any.next();
}

void VersionTable::insertPart(const Part& part)
{
    Query(database_,
        "INSERT INTO parts (file, number, length, sha1, md5, started, finished, body) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
        part.file, part.number, part.length, part.sha1, part.md5, part.started, part.finished, part.body)
        .run();
}

void VersionTable::erasePart(const Part& part)
{
    Query(database_, "DELETE FROM parts WHERE file = ? AND number = ?", part.file, part.number).run();
}

void VersionTable::eraseParts(std::int64_t file)
{
    Query(database_, "DELETE FROM parts WHERE file = ?", file).run();
}

std::optional<Part> VersionTable::part(std::int64_t file, int number) const
{
    auto found = parts(file, number, 1);
    if (found.empty() || found.front().number != number)
        return std::nullopt;
    return std::move(found.front());
}

std::vector<Part> VersionTable::parts(std::int64_t file, int firstNumber, int limit) const
{
    std::vector<Part> found;
    Query query(database_,
        "SELECT file, number, length, sha1, md5, started, finished, body FROM parts WHERE file = ? AND number >= ? "
        "ORDER BY number LIMIT ?",
        file, firstNumber, limit);
    while (query.next())
        found.push_back(partOf(query));
    return found;
}

std::vector<FileVersion> VersionTable::unfinished(
    std::int64_t bucket, std::string_view prefix, const FileVersion* start, int limit) const
{
    const std::string from = start && start->name > prefix ? start->name : std::string(prefix);
    const Milliseconds time = start && start->name >= prefix ? start->time : 0;
    const auto sequence = start && start->name >= prefix ? start->sequence : 0;
    std::vector<FileVersion> found;
    Query query(database_,
        "SELECT " VERSION_COLUMNS " FROM versions WHERE kind = 1 AND bucket = ? "
        "AND (name, time, -place) >= (?, ?, ?) AND name < ? ORDER BY name, time, place DESC LIMIT ?",
        bucket, Bytes{from}, time, sequence, Bytes{std::string(prefix) + beyondUTF8}, limit);
    while (query.next())
        readVersion(query, found.emplace_back());
    return found;
}

VersionCursor::VersionCursor(Database& database, std::int64_t bucket)
    : bucket_(bucket)
    , query_(database,
          "SELECT " VERSION_COLUMNS " FROM versions WHERE bucket = ? AND (name, place) >= (?, ?) ORDER BY name, place",
          bucket, Bytes{}, std::numeric_limits<std::int64_t>::min())
{
}

void VersionCursor::seek(std::string_view name, std::optional<std::int64_t> sequence)
{
    query_.restart(bucket_, Bytes{name}, sequence ? -*sequence : std::numeric_limits<std::int64_t>::min());
    advance();
}

void VersionCursor::skipName(std::string_view name)
{
    // A step costs a tenth of a seek, so a few versions are stepped over and many are skipped by a seek.
    for (int i = 0; i < 8; ++i) {
        advance();
        if (isAtEnd_ || this->name() != name)
            return;
    }
    query_.restart(bucket_, Bytes{name}, std::numeric_limits<std::int64_t>::max());
    advance();
}

void VersionCursor::seekAfterPrefix(std::string_view prefix)
{
    seek(std::string(prefix) + beyondUTF8);
}

void VersionCursor::read(FileVersion& version) const
{
    readVersion(query_, version);
}

} // namespace localb2
