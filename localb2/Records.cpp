#include "localb2/Records.h"

#include "localb2/Encoding.h"

#include <array>
#include <charconv>

namespace localb2 {

namespace {

// Ids look random, yet carry the sequence: multiplying by an odd number modulo a power of two can be undone.
constexpr std::uint64_t idMask = (std::uint64_t{1} << 60) - 1;
constexpr std::uint64_t idFactor = 0x5bd1e9955bd1e995ULL & idMask;

constexpr std::uint64_t inverseOf(std::uint64_t factor)
{
    std::uint64_t inverse = factor;
    for (int i = 0; i < 6; ++i)
        inverse *= 2 - factor * inverse;
    return inverse & idMask;
}

static_assert(((idFactor * inverseOf(idFactor)) & idMask) == 1);

void putDigits(std::string& out, std::int64_t value, int width)
{
    std::array<char, 20> digits;
    for (int i = width - 1; i >= 0; --i) {
        digits[static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    out.append(digits.data(), static_cast<std::size_t>(width));
}

void appendWrapped(std::string& out, bool isReadable, std::string_view json)
{
    JSONObject wrapper(out);
    wrapper.boolean("isClientAuthorizedToRead", isReadable);
    wrapper.raw("value", isReadable ? json : "null");
}

std::string_view holdJSON(LegalHold hold)
{
    return hold == LegalHold::on ? "\"on\"" : hold == LegalHold::off ? "\"off\"" : "null";
}

} // namespace

FileVersion hideMarker(const Bucket& bucket, std::string_view name, Milliseconds time)
{
    return {
        .bucket = bucket.row,
        .name = std::string(name),
        .kind = FileVersion::Kind::hide,
        .time = time,
        .sha1 = "da39a3ee5e6b4b0d3255bfef95601890afd80709",
        .md5 = "d41d8cd98f00b204e9800998ecf8427e",
        .type = "application/x-bz-hide-marker",
    };
}

std::string fileIDOf(std::string_view bucketID, const FileVersion& version)
{
    static constexpr char digits[] = "0123456789abcdef";
    const auto scrambled = (static_cast<std::uint64_t>(version.sequence) * idFactor) & idMask;
    const auto civil = civilTime(version.time);
    std::string id;
    id.reserve(120);
    id += "4_z";
    id += bucketID;
    id += "_f";
    id += version.isLarge ? '2' : '1';
    for (int shift = 56; shift >= 0; shift -= 4)
        id += digits[(scrambled >> shift) & 15];
    id += "_d";
    id += civil.date;
    id += "_m";
    id += civil.time;
    id += "_c004_v0402";
    putDigits(id, version.sequence % 40, 3);
    id += "_t";
    putDigits(id, version.sequence % 60, 4);
    id += "_u";
    putDigits(id, version.time, 14);
    return id;
}

std::optional<std::int64_t> sequenceOf(std::string_view fileID)
{
    const auto field = fileID.find("_f");
    if (fileID.size() > 200 || !fileID.starts_with("4_z") || field == std::string_view::npos
        || fileID.size() < field + 18)
        return std::nullopt;
    std::uint64_t scrambled = 0;
    const auto* const begin = fileID.data() + field + 3;
    const auto [end, error] = std::from_chars(begin, begin + 15, scrambled, 16);
    if (error != std::errc() || end != begin + 15)
        return std::nullopt;
    return static_cast<std::int64_t>((scrambled * inverseOf(idFactor)) & idMask);
}

std::string_view modeName(Retention::Mode mode)
{
    return mode == Retention::Mode::governance ? "governance" : mode == Retention::Mode::compliance ? "compliance" : "";
}

std::string retentionJSON(const Retention& retention)
{
    if (retention.mode == Retention::Mode::none)
        return R"({"mode":null,"retainUntilTimestamp":null})";
    std::string json;
    {
        JSONObject object(json);
        object.text("mode", modeName(retention.mode));
        object.number("retainUntilTimestamp", retention.until);
    }
    return json;
}

std::string encryptionJSON(const Encryption& encryption)
{
    switch (encryption.mode) {
    case Encryption::Mode::managed:
        return R"({"mode":"SSE-B2","algorithm":"AES256"})";
    case Encryption::Mode::customer:
        return R"({"mode":"SSE-C","algorithm":"AES256"})";
    case Encryption::Mode::none:
        break;
    }
    return R"({"mode":null,"algorithm":null})";
}

void appendFileRecord(std::string& out, const FileVersion& version, const RecordStyle& style, std::string_view action)
{
    const bool isMarker = version.kind == FileVersion::Kind::hide;
    const bool areHashesNull = isMarker && style.areMarkerHashesNull;
    if (action.empty())
        action = isMarker ? "hide" : version.kind == FileVersion::Kind::start ? "start" : "upload";
    JSONObject record(out);
    record.text("accountId", style.accountID);
    record.text("action", action);
    record.text("bucketId", style.bucketID);
    record.number("contentLength", version.length);
    record.textOrNull("contentMd5", areHashesNull ? std::string_view() : version.md5);
    record.textOrNull("contentSha1", areHashesNull ? std::string_view() : version.sha1);
    record.text("contentType", version.type);
    record.text("fileId", fileIDOf(style.bucketID, version));
    record.raw("fileInfo", version.info);
    record.text("fileName", version.name);
    if (!isMarker) {
        appendWrapped(record.value("fileRetention"), style.rights.fileRetention, retentionJSON(version.retention));
        appendWrapped(record.value("legalHold"), style.rights.legalHold, holdJSON(version.hold));
        record.raw("serverSideEncryption", encryptionJSON(version.encryption));
    }
    if (style.isFirstVersion)
        record.number("size", version.length);
    record.number("uploadTimestamp", version.time);
}

void appendFolderRecord(std::string& out, std::string_view folder, const RecordStyle& style)
{
    JSONObject record(out);
    record.text("accountId", style.accountID);
    record.text("action", "folder");
    record.text("bucketId", style.bucketID);
    record.number("contentLength", 0);
    record.null("contentMd5");
    record.null("contentSha1");
    record.null("contentType");
    record.null("fileId");
    record.raw("fileInfo", "{}");
    record.text("fileName", folder);
    if (style.isFirstVersion)
        record.number("size", 0);
    record.number("uploadTimestamp", 0);
}

void appendPartRecord(
    std::string& out, const Part& part, std::string_view fileID, const Encryption& encryption, Milliseconds time)
{
    JSONObject record(out);
    record.number("contentLength", part.length);
    record.textOrNull("contentMd5", part.md5);
    record.text("contentSha1", part.sha1);
    record.text("fileId", fileID);
    record.number("partNumber", part.number);
    record.raw("serverSideEncryption", encryptionJSON(encryption));
    record.number("uploadTimestamp", time);
}

void appendBucketRecord(std::string& out, const Bucket& bucket, const ReadRights& rights)
{
    std::string lock;
    {
        JSONObject value(lock);
        value.boolean("isFileLockEnabled", bucket.isLockEnabled);
        JSONObject retention(value.value("defaultRetention"));
        retention.textOrNull("mode", modeName(bucket.defaultRetention));
        if (bucket.defaultRetention == Retention::Mode::none) {
            retention.null("period");
        } else {
            JSONObject period(retention.value("period"));
            period.number("duration", bucket.retentionDuration);
            period.text("unit", bucket.retentionUnit);
        }
    }
    JSONObject record(out);
    record.text("accountId", bucket.accountID);
    record.text("bucketId", bucket.id);
    record.raw("bucketInfo", bucket.info);
    record.text("bucketName", bucket.name);
    record.text("bucketType", bucket.type);
    record.raw("corsRules", bucket.corsRules);
    appendWrapped(record.value("defaultServerSideEncryption"), rights.bucketEncryption,
        encryptionJSON({.mode = bucket.isManagedEncryption ? Encryption::Mode::managed : Encryption::Mode::none}));
    appendWrapped(record.value("fileLockConfiguration"), rights.bucketRetention, lock);
    record.raw("lifecycleRules", bucket.lifecycleRules);
    record.raw("options", R"(["s3"])");
    appendWrapped(record.value("replicationConfiguration"), rights.bucketReplication, bucket.replication);
    record.number("revision", bucket.revision);
}

} // namespace localb2
