#include "localb2/Calls.h"

#include "localb2/Content.h"
#include "localb2/Encoding.h"
#include "localb2/FileTraits.h"

#include <boost/json.hpp>

namespace localb2 {

namespace {

std::string recordOf(Call& call, const Located& located)
{
    std::string out;
    appendFileRecord(out, located.version, styleFor(call.core, call.caller, located.bucket, call.apiVersion));
    return out;
}

/// Does a lock forbid destroying the version, given the caller's right to bypass it?
void checkDeletable(Call& call, const FileVersion& version)
{
    const bool bypasses = call.fields.flag("bypassGovernance", false);
    const bool isRetained =
        version.retention.mode != Retention::Mode::none && version.retention.until > call.core.now();
    const bool isBypassed = bypasses && version.retention.mode == Retention::Mode::governance;
    if (version.hold == LegalHold::on || (isRetained && !isBypassed))
        throw Failure(401, "access_denied", "Access Denied");
}

} // namespace

std::string getFileInfo(Call& call)
{
    const auto fileID = call.fields.text("fileId");
    call.caller.need(Capability::readFiles);
    const auto located = versionByID(call.core, call.caller, fileID);
    if (!located)
        throw Failure(404, "not_found", "file_state_none");
    return recordOf(call, *located);
}

std::string hideFile(Call& call)
{
    const auto bucketID = call.fields.text("bucketId");
    const auto name = call.fields.text("fileName");
    call.caller.need(Capability::writeFiles);
    call.caller.needBucket(bucketID);
    call.caller.needName(name);
    checkFileName(name);
    const auto bucket = bucketFor(call.core, call.caller, bucketID);
    const auto newest = call.core.versions.newest(bucket.row, name);
    if (!newest)
        throw Failure(400, "no_such_file", "File not present: " + name);
    if (newest->kind == FileVersion::Kind::hide)
        throw Failure(400, "already_hidden", "File already hidden: " + name);
    Located marker{bucket, hideMarker(bucket, name, call.core.nowInSeconds())};
    Change change(call.core);
    call.core.versions.insert(marker.version);
    change.commit();
    return recordOf(call, marker);
}

std::string deleteFileVersion(Call& call)
{
    const auto name = call.fields.text("fileName");
    const auto fileID = call.fields.text("fileId");
    call.caller.need(Capability::deleteFiles);
    call.caller.needName(name);
    if (call.fields.flag("bypassGovernance", false))
        call.caller.need(Capability::bypassGovernance);
    const auto located = versionByID(call.core, call.caller, fileID);
    if (!located || located->version.name != name)
        throw Failure(400, "file_not_present", "File not present: " + name + " " + fileID);
    checkDeletable(call, located->version);
    Change change(call.core);
    eraseWithContent(call.core, located->version);
    change.commit();
    std::string out;
    {
        JSONObject result(out);
        result.text("fileId", fileID);
        result.text("fileName", name);
    }
    return out;
}

std::string getDownloadAuthorization(Call& call)
{
    const auto bucketID = call.fields.text("bucketId");
    const auto prefix = call.fields.text("fileNamePrefix");
    const auto seconds = call.fields.number("validDurationInSeconds");
    call.caller.need(Capability::shareFiles);
    call.caller.needBucket(bucketID);
    call.caller.needName(prefix);
    if (seconds < 1 || seconds > 604'800)
        throw badRequest("validDurationInSeconds must be from 1 to 604800");
    const auto bucket = bucketFor(call.core, call.caller, bucketID);
    boost::json::object overrides;
    for (const auto* const name : {"b2ContentDisposition", "b2ContentLanguage", "b2Expires", "b2CacheControl",
             "b2ContentEncoding", "b2ContentType"}) {
        if (const auto value = call.fields.optionalText(name))
            overrides[name] = *value;
    }
    const auto token = call.core.tokens.add({.kind = Token::Kind::download,
                                                .keyID = call.caller.key().id,
                                                .expires = call.core.now() + seconds * 1000,
                                                .target = bucket.id,
                                                .prefix = prefix,
                                                .overrides = boost::json::serialize(overrides)},
        call.core.now());
    std::string out;
    {
        JSONObject result(out);
        result.text("authorizationToken", token);
        result.text("bucketId", bucket.id);
        result.text("fileNamePrefix", prefix);
    }
    return out;
}

} // namespace localb2
