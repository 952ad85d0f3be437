#include "localb2/Calls.h"

#include "localb2/Content.h"
#include "localb2/Encoding.h"
#include "localb2/FileTraits.h"
#include "localb2/Receiving.h"

#include <fmt/format.h>

#include <boost/json.hpp>

namespace localb2 {

namespace {

constexpr std::int64_t minimumPartSize = 5'000'000;
constexpr int highestPartNumber = 10'000;

std::string recordOf(Call& call, const Bucket& bucket, const FileVersion& version)
{
    std::string out;
    appendFileRecord(out, version, styleFor(call.core, call.caller, bucket, call.apiVersion));
    return out;
}

/// Checks that the parts make up the file, given the hashes that the client has for them.
void checkParts(const std::vector<Part>& parts, const std::vector<std::string>& hashes)
{
    if (hashes.size() < 2)
        throw badRequest("large files must have at least 2 parts");
    if (hashes.size() != parts.size())
        throw badRequest(fmt::format("{} parts were uploaded, {} hashes given", parts.size(), hashes.size()));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].number != static_cast<int>(i) + 1)
            throw badRequest(fmt::format("part number {} is missing", i + 1));
        if (parts[i].sha1 != lowerCased(hashes[i]))
            throw Failure(400, "part_sha1_mismatch", fmt::format("Part number {} has another Sha1", i + 1));
        if (i + 1 < parts.size() && parts[i].length < minimumPartSize)
            throw badRequest(fmt::format("part number {} is smaller than {} bytes", i + 1, minimumPartSize));
    }
}

} // namespace

Located activeUpload(Core& core, const Caller& caller, std::string_view fileID)
{
    auto located = versionByID(core, caller, fileID);
    if (!located || located->version.kind != FileVersion::Kind::start)
        throw badRequest("No active upload for: " + std::string(fileID));
    return std::move(*located);
}

void storePart(Core& core, const Part& part)
{
    if (const auto earlier = core.versions.part(part.file, part.number)) {
        core.bodies.removeUser(earlier->body);
        core.versions.erasePart(*earlier);
    }
    core.versions.insertPart(part);
}

int partNumberOf(std::optional<std::int64_t> number)
{
    if (!number || *number < 1 || *number > highestPartNumber)
        throw badRequest(fmt::format("Part numbers are from 1 to {}", highestPartNumber));
    return static_cast<int>(*number);
}

std::string startLargeFile(Call& call)
{
    const auto bucketID = call.fields.text("bucketId");
    auto traits = traitsOfCall(call.fields);
    if (traits.type.empty())
        throw badRequest("required field contentType cannot be null");
    traits.encryption = encryptionOf(call.fields, "serverSideEncryption");
    call.caller.need(Capability::writeFiles);
    call.caller.needBucket(bucketID);
    call.caller.needName(traits.name);
    const auto bucket = bucketFor(call.core, call.caller, bucketID);
    auto version = versionWith(call.core, call.caller, bucket, traits);
    checkTestMode(call.core, call.request);
    version.kind = FileVersion::Kind::start;
    version.isLarge = true;
    version.sha1 = "none";
    call.core.versions.insert(version);
    return recordOf(call, bucket, version);
}

std::string getUploadPartURL(Call& call)
{
    const auto fileID = call.fields.text("fileId");
    call.caller.need(Capability::writeFiles);
    activeUpload(call.core, call.caller, fileID);
    const auto token = call.core.tokens.add(
        {.kind = Token::Kind::part, .keyID = call.caller.key().id, .expires = call.core.now() + day, .target = fileID},
        call.core.now());
    std::string out;
    {
        JSONObject result(out);
        result.text("authorizationToken", token);
        result.text("fileId", fileID);
        result.text("uploadUrl",
            fmt::format("{}/b2api/v{}/b2_upload_part/{}/{:04}", call.core.baseURL, call.apiVersion, fileID,
                call.core.now() % 60));
    }
    return out;
}

Answer uploadPart(Core& core, const Request& request, std::string_view fileID)
{
    std::unique_lock lock(core.mutex);
    UploadTurn turn(core, lock, request, Token::Kind::part, fileID);
    try {
        const auto& caller = turn.caller();
        const auto* const numberHeader = request.header("X-Bz-Part-Number");
        const auto number = partNumberOf(numberHeader ? wholeNumber(*numberHeader) : std::nullopt);
        const auto hash = hashOfUpload(request);
        const auto length = lengthOfUpload(request, hash);
        if (length == 0)
            throw badRequest("A part has at least 1 byte");
        caller.need(Capability::writeFiles);
        const auto file = activeUpload(core, caller, fileID).version;
        checkPartEncryption(request, file.encryption);
        checkTestMode(core, request);
        Part part{.file = file.sequence, .number = number, .length = length, .started = core.nowInSeconds()};
        lock.unlock();

        BodyWriter writer(core.bodies);
        part.sha1 = receive(request, hash, length, writer);

        lock.lock();
        // The file may have been finished or cancelled while the body arrived.
        activeUpload(core, caller, fileID);
        Change change(core);
        part.finished = core.now();
        part.md5 = writer.hashes().md5;
        part.body = core.bodies.store(writer);
        storePart(core, part);
        change.commit();
        turn.keep();
        Answer answer;
        appendPartRecord(answer.body, part, fileID, file.encryption, part.finished);
        return answer;
    } catch (const Failure& failure) {
        if (failure.status == 400 || failure.status == 403)
            turn.keep();
        throw;
    }
}

std::string finishLargeFile(Call& call)
{
    const auto fileID = call.fields.text("fileId");
    const auto* const list = call.fields.optionalArray("partSha1Array");
    if (!list)
        throw badRequest("required field partSha1Array cannot be null");
    std::vector<std::string> hashes;
    for (const auto& value : *list)
        hashes.emplace_back(value.is_string() ? std::string(value.get_string()) : std::string());
    call.caller.need(Capability::writeFiles);
    auto [bucket, version] = activeUpload(call.core, call.caller, fileID);
    const auto parts = call.core.versions.parts(version.sequence);
    checkParts(parts, hashes);
    version.kind = FileVersion::Kind::upload;
    for (const auto& part : parts)
        version.length += part.length;
    call.core.versions.update(version);
    return recordOf(call, bucket, version);
}

std::string cancelLargeFile(Call& call)
{
    const auto fileID = call.fields.text("fileId");
    call.caller.need(Capability::writeFiles);
    const auto [bucket, version] = activeUpload(call.core, call.caller, fileID);
    Change change(call.core);
    eraseWithContent(call.core, version);
    change.commit();
    std::string out;
    {
        JSONObject result(out);
        result.text("accountId", bucket.accountID);
        result.text("bucketId", bucket.id);
        result.text("fileId", fileID);
        result.text("fileName", version.name);
    }
    return out;
}

std::string listParts(Call& call)
{
    const auto fileID = call.fields.text("fileId");
    const auto start = call.fields.optionalNumber("startPartNumber").value_or(1);
    auto count = call.fields.optionalNumber("maxPartCount").value_or(100);
    call.caller.needAny(Capability::writeFiles, Capability::listFiles);
    if (count < 0 || count > 1000)
        throw Failure(400, "out_of_range", "maxPartCount is at most 1000");
    if (start < 1 || start > highestPartNumber)
        throw badRequest(fmt::format("Part numbers are from 1 to {}", highestPartNumber));
    if (count == 0)
        count = 100;
    const auto version = activeUpload(call.core, call.caller, fileID).version;
    auto parts = call.core.versions.parts(version.sequence, static_cast<int>(start), static_cast<int>(count) + 1);
    const bool hasMore = parts.size() > static_cast<std::size_t>(count);
    std::string out = "{\"nextPartNumber\":" + (hasMore ? std::to_string(parts.back().number) : "null");
    if (hasMore)
        parts.pop_back();
    out += ",\"parts\":[";
    for (const auto& part : parts) {
        out += out.back() == '[' ? "" : ",";
        appendPartRecord(out, part, fileID, version.encryption, part.started);
    }
    return out += "]}";
}

std::string listUnfinishedLargeFiles(Call& call)
{
    const auto bucketID = call.fields.text("bucketId");
    const auto prefix = call.fields.optionalText("namePrefix").value_or("");
    const auto startID = call.fields.optionalText("startFileId");
    auto count = call.fields.optionalNumber("maxFileCount").value_or(100);
    call.caller.need(Capability::listFiles);
    call.caller.needBucket(bucketID);
    call.caller.needName(prefix);
    if (count < 0 || count > 100)
        throw Failure(400, "out_of_range", "maxFileCount is at most 100");
    if (count == 0)
        count = 100;
    const auto bucket = bucketFor(call.core, call.caller, bucketID);
    std::optional<Located> start;
    if (startID)
        start = versionByID(call.core, call.caller, *startID);
    auto files = call.core.versions.unfinished(
        bucket.row, prefix, start ? &start->version : nullptr, static_cast<int>(count) + 1);
    std::string out = "{\"nextFileId\":";
    if (files.size() > static_cast<std::size_t>(count)) {
        appendQuoted(out, fileIDOf(bucket.id, files.back()));
        files.pop_back();
    } else {
        out += "null";
    }
    out += ",\"files\":[";
    for (const auto& file : files) {
        out += out.back() == '[' ? "" : ",";
        out += recordOf(call, bucket, file);
    }
    return out += "]}";
}

} // namespace localb2
