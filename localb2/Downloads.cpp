#include "localb2/Calls.h"

#include "localb2/Content.h"
#include "localb2/Encoding.h"

#include <boost/json.hpp>

#include <algorithm>
#include <array>

namespace localb2 {

namespace {

/// A header that a client may override, with the source of its usual value.
struct Override {
    const char* query;
    const char* header;
    const char* info;
};

constexpr std::array<Override, 5> overrides = {{
    {"b2ContentDisposition", "Content-Disposition", "b2-content-disposition"},
    {"b2ContentLanguage", "Content-Language", "b2-content-language"},
    {"b2Expires", "Expires", "b2-expires"},
    {"b2CacheControl", "Cache-Control", "b2-cache-control"},
    {"b2ContentEncoding", "Content-Encoding", "b2-content-encoding"},
}};

struct Range {
    std::int64_t first = 0;
    std::int64_t length = 0;
};

/// Returns nothing when the header is not a single range; it is ignored then.
std::optional<Range> rangeOf(std::string_view header, std::int64_t size)
{
    static constexpr std::string_view unit = "bytes=";
    if (!header.starts_with(unit))
        return std::nullopt;
    header.remove_prefix(unit.size());
    const auto dash = header.find('-');
    if (dash == std::string_view::npos)
        return std::nullopt;
    const auto first = wholeNumber(header.substr(0, dash));
    const auto last = wholeNumber(header.substr(dash + 1));
    const Failure unsatisfiable(416, "range_not_satisfiable", "The range is outside of the file");
    if (dash == 0) {
        if (!last)
            return std::nullopt;
        const auto length = std::min(*last, size);
        if (length == 0)
            throw unsatisfiable;
        return Range{size - length, length};
    }
    const bool isOpen = dash + 1 == header.size();
    if (!first || (!last && !isOpen) || (last && *last < *first))
        return std::nullopt;
    if (*first >= size)
        throw unsatisfiable;
    const auto end = isOpen ? size : std::min(*last, size - 1) + 1;
    return Range{*first, end - *first};
}

/// A caller who may read, perhaps only because the bucket is public.
struct Reader {
    std::optional<Caller> caller;
    bool hasDownloadToken = false;
};

std::optional<std::string> tokenOfDownload(const Request& request)
{
    if (const auto* const header = request.header("Authorization"))
        return *header;
    const auto found = request.query.find("Authorization");
    return found == request.query.end() ? std::nullopt : std::optional(found->second);
}

void checkOverrides(const Request& request, const Token& token)
{
    const auto agreed = boost::json::parse(token.overrides).as_object();
    const auto check = [&](const char* name) {
        const auto asked = request.query.find(name);
        const auto* const made = agreed.if_contains(name);
        const bool isSame = asked == request.query.end() ? !made : made && made->as_string() == asked->second;
        if (!isSame)
            throw unauthorized();
    };
    for (const auto& override : overrides)
        check(override.query);
    check("b2ContentType");
}

Reader readerByName(Core& core, const Request& request, const Bucket& bucket, std::string_view fileName)
{
    const auto text = tokenOfDownload(request);
    if (!text) {
        if (!bucket.isPublic())
            throw Failure(401, "unauthorized", "");
        return {};
    }
    const auto* const token = core.tokens.find(*text);
    if (token && token->kind == Token::Kind::download) {
        auto caller = callerOf(core, *text, Token::Kind::download);
        if (token->target != bucket.id || !fileName.starts_with(token->prefix))
            throw unauthorized();
        checkOverrides(request, *token);
        return {std::move(caller), true};
    }
    auto caller = callerOf(core, *text, Token::Kind::account);
    if (!bucket.isPublic()) {
        caller.need(Capability::readFiles);
        if (bucket.accountID != caller.accountID())
            throw unauthorized();
        caller.needBucket(bucket.id);
        caller.needName(fileName);
    }
    return {std::move(caller), false};
}

void checkCustomerKey(const Request& request, const Encryption& encryption)
{
    if (encryption.mode != Encryption::Mode::customer)
        return;
    const auto* const key = request.header("X-Bz-Server-Side-Encryption-Customer-Key");
    const auto* const keyMD5 = request.header("X-Bz-Server-Side-Encryption-Customer-Key-Md5");
    if (!request.header("X-Bz-Server-Side-Encryption-Customer-Algorithm") || !key || !keyMD5)
        throw badRequest("This file is encrypted with a customer key, which must be given");
    if (base64MD5(base64Decoded(*key).value_or("")) != encryption.customerKeyMD5)
        throw Failure(403, "access_denied", "The customer key is not the one of this file");
}

void putInfoHeaders(Answer& answer, const Request& request, const Bucket& bucket, const FileVersion& version)
{
    const auto info = boost::json::parse(version.info).as_object();
    for (const auto& [name, value] : info) {
        if (!name.starts_with("b2-"))
            answer.headers.emplace_back("X-Bz-Info-" + std::string(name), percentEncoded(value.as_string()));
    }
    for (const auto& override : overrides) {
        const auto asked = request.query.find(override.query);
        if (asked != request.query.end())
            answer.headers.emplace_back(override.header, asked->second);
        else if (const auto* const value = info.if_contains(override.info))
            answer.headers.emplace_back(override.header, std::string(value->as_string()));
        else if (std::string_view(override.header) == "Cache-Control") {
            const auto bucketInfo = boost::json::parse(bucket.info).as_object();
            for (const auto& [name, text] : bucketInfo) {
                if (equalIgnoringCase(name, "Cache-Control"))
                    answer.headers.emplace_back(override.header, std::string(text.as_string()));
            }
        }
    }
    if (const auto type = request.query.find("b2ContentType"); type != request.query.end())
        answer.type = type->second;
}

void putLockHeaders(Answer& answer, const Reader& reader, const FileVersion& version)
{
    std::string unreadable;
    const auto put = [&](bool isReadable, std::string header, std::string value) {
        if (isReadable)
            answer.headers.emplace_back(std::move(header), std::move(value));
        else
            unreadable += (unreadable.empty() ? "" : ",") + header;
    };
    const auto rights = reader.caller ? reader.caller->readRights() : ReadRights{false, false, false, false, false};
    if (version.retention.mode != Retention::Mode::none) {
        put(rights.fileRetention, "X-Bz-File-Retention-Mode", std::string(modeName(version.retention.mode)));
        put(rights.fileRetention, "X-Bz-File-Retention-Retain-Until-Timestamp",
            std::to_string(version.retention.until));
    }
    if (version.hold != LegalHold::unset)
        put(rights.legalHold, "X-Bz-File-Legal-Hold", version.hold == LegalHold::on ? "on" : "off");
    if (!unreadable.empty())
        answer.headers.emplace_back("X-Bz-Client-Unauthorized-To-Read", unreadable);
    if (version.encryption.mode == Encryption::Mode::managed)
        answer.headers.emplace_back("X-Bz-Server-Side-Encryption", "AES256");
    if (version.encryption.mode == Encryption::Mode::customer) {
        answer.headers.emplace_back("X-Bz-Server-Side-Encryption-Customer-Algorithm", "AES256");
        answer.headers.emplace_back("X-Bz-Server-Side-Encryption-Customer-Key-Md5", version.encryption.customerKeyMD5);
    }
}

Answer deliver(Core& core, const Request& request, const Reader& reader, const Located& located)
{
    const auto& [bucket, version] = located;
    checkCustomerKey(request, version.encryption);
    const bool hasOverrides = std::ranges::any_of(
        request.query, [](const auto& item) { return item.first.starts_with("b2C") || item.first == "b2Expires"; });
    if (hasOverrides && !reader.caller)
        throw unauthorized();
    const auto* const rangeHeader = request.header("Range");
    const auto range = rangeHeader ? rangeOf(*rangeHeader, version.length) : std::nullopt;
    const auto [first, length] = range.value_or(Range{0, version.length});

    Answer answer{.status = range ? 206 : 200, .type = version.type};
    if (range)
        answer.headers.emplace_back("Content-Range",
            "bytes " + std::to_string(first) + "-" + std::to_string(first + length - 1) + "/"
                + std::to_string(version.length));
    answer.headers.emplace_back("Accept-Ranges", "bytes");
    answer.headers.emplace_back("X-Bz-File-Id", fileIDOf(bucket.id, version));
    answer.headers.emplace_back("X-Bz-File-Name", percentEncoded(version.name));
    answer.headers.emplace_back("X-Bz-Content-Sha1", version.sha1);
    answer.headers.emplace_back("X-Bz-Upload-Timestamp", std::to_string(version.time));
    putInfoHeaders(answer, request, bucket, version);
    putLockHeaders(answer, reader, version);
    answer.slices = slicesOf(core, version, first, length);
    answer.isBodyLeftOut = request.method == "HEAD";
    return answer;
}

Failure notFound(std::string_view name)
{
    return {404, "not_found", "File with such name does not exist: " + std::string(name)};
}

} // namespace

Answer downloadByName(Core& core, const Request& request, std::string_view bucketName, std::string_view fileName)
{
    const std::scoped_lock lock(core.mutex);
    auto bucket = core.buckets.byName(bucketName);
    if (!bucket) {
        // A caller who may not read learns nothing about which buckets exist.
        const auto token = tokenOfDownload(request);
        if (!token)
            throw Failure(401, "unauthorized", "");
        callerOf(core, *token, Token::Kind::account);
        throw Failure(404, "not_found", "Bucket " + std::string(bucketName) + " does not exist");
    }
    const auto reader = readerByName(core, request, *bucket, fileName);
    auto version = core.versions.newest(bucket->row, fileName);
    if (!version || version->kind != FileVersion::Kind::upload)
        throw notFound(fileName);
    return deliver(core, request, reader, {std::move(*bucket), std::move(*version)});
}

Answer downloadByID(Core& core, const Request& request)
{
    const std::scoped_lock lock(core.mutex);
    const Fields fields(request);
    const auto fileID = fields.text("fileId");
    const auto sequence = sequenceOf(fileID);
    if (!sequence)
        throw badRequest("Invalid fileId: " + fileID.substr(0, 300));
    auto version = core.versions.bySequence(*sequence);
    auto bucket = version ? core.buckets.byRow(version->bucket) : std::nullopt;
    const bool exists = bucket && fileIDOf(bucket->id, *version) == fileID;
    const auto* const token = request.header("Authorization");
    Reader reader;
    if (token)
        reader.caller = callerOf(core, *token, Token::Kind::account);
    if (!exists || !bucket->isPublic()) {
        if (!reader.caller)
            throw Failure(401, "unauthorized", "");
        reader.caller->need(Capability::readFiles);
    }
    if (!exists)
        throw notFound(fileID);
    if (!bucket->isPublic()) {
        if (bucket->accountID != reader.caller->accountID())
            throw unauthorized();
        reader.caller->needBucket(bucket->id);
        reader.caller->needName(version->name);
    }
    if (version->kind != FileVersion::Kind::upload)
        throw notFound(fileID);
    return deliver(core, request, reader, {std::move(*bucket), std::move(*version)});
}

} // namespace localb2
