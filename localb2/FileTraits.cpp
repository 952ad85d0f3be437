#include "localb2/FileTraits.h"

#include "localb2/Encoding.h"

#include <boost/json.hpp>

#include <algorithm>
#include <array>

namespace localb2 {

namespace {

constexpr std::size_t metadataLimit = 7000;

void checkInfoName(std::string_view name)
{
    static constexpr std::string_view marks = "-_.`~!#$%^&*'|+";
    static constexpr std::array<std::string_view, 5> reserved = {
        "b2-content-disposition", "b2-content-language", "b2-expires", "b2-cache-control", "b2-content-encoding"};
    const bool isGood = !name.empty() && name.size() <= 50 && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || marks.contains(c);
    });
    if (!isGood)
        throw badRequest("Bad file info name: " + std::string(name.substr(0, 60)));
    if (name.starts_with("b2-") && std::ranges::find(reserved, name) == reserved.end())
        throw badRequest("File info names beginning with \"b2-\" are reserved: " + std::string(name));
}

void checkInfoValue(std::string_view name, std::string_view value)
{
    if (!isUTF8(value))
        throw badRequest("File info value of " + std::string(name) + " is not UTF-8");
    // These are returned as separate headers, without encoding.
    const bool isHeader = name.starts_with("b2-");
    if (isHeader && std::ranges::any_of(value, [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }))
        throw badRequest("Bad value of " + std::string(name));
}

void checkMetadata(const Core& core, const FileTraits& traits, bool isLowered)
{
    std::size_t size = percentEncoded(traits.name).size();
    for (const auto& [name, value] : traits.info)
        size += std::string_view("X-Bz-Info-").size() + name.size() + percentEncoded(value).size();
    const auto limit = isLowered ? static_cast<std::size_t>(core.settings.metadataLimit) : metadataLimit;
    if (size > limit)
        throw badRequest(
            "File name and info headers take " + std::to_string(size) + " bytes, more than " + std::to_string(limit));
}

Encryption customerEncryption(std::string_view algorithm, std::string_view key, std::string_view keyMD5)
{
    const auto bytes = base64Decoded(key);
    if (algorithm != "AES256" || !bytes || bytes->size() != 32)
        throw badRequest("The customer key must be 32 bytes for AES256");
    if (base64MD5(*bytes) != keyMD5)
        throw badRequest("The customer key does not match its MD5");
    return {.mode = Encryption::Mode::customer, .customerKeyMD5 = std::string(keyMD5)};
}

std::optional<Encryption> encryptionOfHeaders(const Request& request)
{
    static constexpr std::string_view prefix = "X-Bz-Server-Side-Encryption";
    const auto* const algorithm = request.header(std::string(prefix) + "-Customer-Algorithm");
    const auto* const key = request.header(std::string(prefix) + "-Customer-Key");
    const auto* const keyMD5 = request.header(std::string(prefix) + "-Customer-Key-Md5");
    if (algorithm || key || keyMD5) {
        if (!algorithm || !key || !keyMD5)
            throw badRequest("Server-side encryption with a customer key needs three headers");
        return customerEncryption(*algorithm, *key, *keyMD5);
    }
    const auto* const managed = request.header(prefix);
    if (!managed)
        return std::nullopt;
    if (*managed != "AES256")
        throw badRequest("Unknown encryption algorithm: " + *managed);
    return Encryption{.mode = Encryption::Mode::managed};
}

std::optional<Retention> retentionOfHeaders(const Request& request)
{
    const auto* const mode = request.header("X-Bz-File-Retention-Mode");
    const auto* const until = request.header("X-Bz-File-Retention-Retain-Until-Timestamp");
    if (!mode && !until)
        return std::nullopt;
    if (!mode || !until)
        throw badRequest("Retention needs both its mode and its time");
    const auto time = wholeNumber(*until);
    if (!time || (*mode != "governance" && *mode != "compliance"))
        throw badRequest("Bad retention");
    return Retention{*mode == "governance" ? Retention::Mode::governance : Retention::Mode::compliance, *time};
}

Milliseconds lengthOf(const Bucket& bucket)
{
    return bucket.retentionDuration * (bucket.retentionUnit == "years" ? 365 : 1) * Milliseconds{86'400'000};
}

} // namespace

void checkFileName(std::string_view name)
{
    const bool isGood = !name.empty() && name.size() <= 1024 && isUTF8(name)
        && std::ranges::none_of(name, [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; });
    if (!isGood)
        throw badRequest("File names are 1 to 1024 bytes of UTF-8 without control characters");
}

FileTraits traitsOfUpload(const Request& request)
{
    FileTraits traits;
    const auto* const name = request.header("X-Bz-File-Name");
    const auto* const type = request.header("Content-Type");
    if (!name)
        throw badRequest("header X-Bz-File-Name is required");
    if (!type || type->empty())
        throw badRequest("header Content-Type is required");
    if (request.header("X-Bz-Custom-Upload-Timestamp"))
        throw Failure(400, "custom_timestamp_not_allowed", "Custom upload timestamps are not enabled");
    auto decoded = percentDecoded(*name);
    if (!decoded)
        throw badRequest("header X-Bz-File-Name is not percent-encoded");
    traits.name = std::move(*decoded);
    checkFileName(traits.name);
    traits.type = resolvedType(*type, traits.name);
    for (const auto& [header, value] : request.headers) {
        static constexpr std::string_view prefix = "x-bz-info-";
        const auto lower = lowerCased(header);
        if (!lower.starts_with(prefix))
            continue;
        auto info = percentDecoded(value);
        if (!info)
            throw badRequest("header " + header + " is not percent-encoded");
        traits.info[lower.substr(prefix.size())] = std::move(*info);
    }
    traits.encryption = encryptionOfHeaders(request);
    traits.retention = retentionOfHeaders(request);
    if (const auto* const hold = request.header("X-Bz-File-Legal-Hold"))
        traits.hold = legalHoldOf(*hold);
    return traits;
}

std::map<std::string, std::string> infoOf(const Fields& fields)
{
    std::map<std::string, std::string> info;
    if (const auto object = fields.optionalObject("fileInfo")) {
        for (const auto& [name, value] : object->object()) {
            if (!value.is_string())
                throw badRequest("fileInfo holds text only");
            info[lowerCased(name)] = std::string(value.get_string());
        }
    }
    return info;
}

std::optional<Encryption> encryptionOf(const Fields& fields, std::string_view key)
{
    const auto object = fields.optionalObject(key);
    const auto mode = object ? object->optionalText("mode") : std::nullopt;
    if (!mode)
        return std::nullopt;
    if (*mode == "SSE-C")
        return customerEncryption(object->optionalText("algorithm").value_or("AES256"), object->text("customerKey"),
            object->text("customerKeyMd5"));
    if (*mode != "SSE-B2")
        throw badRequest("Unknown encryption mode: " + *mode);
    return Encryption{.mode = Encryption::Mode::managed};
}

Retention retentionOf(const Fields& fields)
{
    const auto mode = fields.optionalText("mode");
    if (!mode || mode->empty() || *mode == "none")
        return {};
    if (*mode != "governance" && *mode != "compliance")
        throw badRequest("Unknown retention mode: " + *mode);
    return {*mode == "governance" ? Retention::Mode::governance : Retention::Mode::compliance,
        fields.number("retainUntilTimestamp")};
}

LegalHold legalHoldOf(std::string_view text)
{
    if (text != "on" && text != "off")
        throw badRequest("legalHold is \"on\" or \"off\"");
    return text == "on" ? LegalHold::on : LegalHold::off;
}

void checkPartEncryption(const Request& request, const Encryption& ofFile)
{
    const auto given = encryptionOfHeaders(request);
    const bool needsKey = ofFile.mode == Encryption::Mode::customer;
    const bool hasKey = given && given->mode == Encryption::Mode::customer;
    if (needsKey != hasKey)
        throw badRequest("The customer key headers do not fit how the large file was started");
    if (needsKey && given->customerKeyMD5 != ofFile.customerKeyMD5)
        throw Failure(403, "access_denied", "The customer key is not the one of this file");
}

FileTraits traitsOfCall(const Fields& fields)
{
    FileTraits traits;
    traits.name = fields.text("fileName");
    checkFileName(traits.name);
    if (fields.find("customUploadTimestamp"))
        throw Failure(400, "custom_timestamp_not_allowed", "Custom upload timestamps are not enabled");
    if (const auto type = fields.optionalText("contentType"))
        traits.type = resolvedType(*type, traits.name);
    traits.info = infoOf(fields);
    if (const auto retention = fields.optionalObject("fileRetention"))
        traits.retention = retentionOf(*retention);
    if (const auto hold = fields.optionalText("legalHold"))
        traits.hold = legalHoldOf(*hold);
    return traits;
}

FileVersion versionWith(const Core& core, const Caller& caller, const Bucket& bucket, const FileTraits& traits)
{
    for (const auto& [name, value] : traits.info) {
        checkInfoName(name);
        checkInfoValue(name, value);
    }
    FileVersion version{.bucket = bucket.row, .name = traits.name, .time = core.nowInSeconds(), .type = traits.type};
    version.info = infoJSON(traits.info);
    version.encryption = traits.encryption.value_or(
        Encryption{.mode = bucket.isManagedEncryption ? Encryption::Mode::managed : Encryption::Mode::none});
    const bool isEncrypted = version.encryption.mode != Encryption::Mode::none;
    checkMetadata(core, traits, isEncrypted || bucket.isLockEnabled);
    const bool isRetained = traits.retention && traits.retention->mode != Retention::Mode::none;
    if (isRetained)
        caller.need(Capability::writeFileRetentions);
    if (traits.hold)
        caller.need(Capability::writeFileLegalHolds);
    if (!bucket.isLockEnabled && (isRetained || traits.hold))
        throw Failure(400, "bucket_missing_file_lock", "The bucket is not file lock enabled");
    if (isRetained && traits.retention->until <= core.now())
        throw Failure(400, "retain_until_timestamp_must_be_in_future", "The retention time is in the past");
    if (traits.retention)
        version.retention = *traits.retention;
    else if (bucket.isLockEnabled && bucket.defaultRetention != Retention::Mode::none)
        version.retention = {bucket.defaultRetention, version.time + lengthOf(bucket)};
    version.hold = traits.hold.value_or(LegalHold::unset);
    return version;
}

std::map<std::string, std::string> infoOfJSON(std::string_view json)
{
    std::map<std::string, std::string> info;
    for (const auto& [name, value] : boost::json::parse(json).as_object())
        info[std::string(name)] = std::string(value.as_string());
    return info;
}

std::string infoJSON(const std::map<std::string, std::string>& info)
{
    std::string json;
    {
        JSONObject object(json);
        for (const auto& [name, value] : info) {
            std::string key;
            appendQuoted(key, name);
            object.text(std::string_view(key).substr(1, key.size() - 2), value);
        }
    }
    return json;
}

std::string resolvedType(std::string_view type, std::string_view name)
{
    if (type.size() > 200 || std::ranges::any_of(type, [](char c) { return c < 32 || c > 126; }))
        throw badRequest("Bad content type");
    if (type != "b2/x-auto")
        return std::string(type);
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 26> types = {{
        {"txt", "text/plain"},
        {"md", "text/markdown"},
        {"csv", "text/csv"},
        {"html", "text/html"},
        {"htm", "text/html"},
        {"css", "text/css"},
        {"js", "application/javascript"},
        {"json", "application/json"},
        {"xml", "application/xml"},
        {"pdf", "application/pdf"},
        {"zip", "application/zip"},
        {"gz", "application/gzip"},
        {"tar", "application/x-tar"},
        {"png", "image/png"},
        {"jpg", "image/jpeg"},
        {"jpeg", "image/jpeg"},
        {"gif", "image/gif"},
        {"svg", "image/svg+xml"},
        {"webp", "image/webp"},
        {"heic", "image/heic"},
        {"mp3", "audio/mpeg"},
        {"flac", "audio/flac"},
        {"wav", "audio/wav"},
        {"mp4", "video/mp4"},
        {"mov", "video/quicktime"},
        {"mkv", "video/x-matroska"},
    }};
    const auto dot = name.rfind('.');
    const auto extension = dot == std::string_view::npos ? "" : lowerCased(name.substr(dot + 1));
    for (const auto& [known, resolved] : types) {
        if (known == extension)
            return std::string(resolved);
    }
    return "application/octet-stream";
}

} // namespace localb2
