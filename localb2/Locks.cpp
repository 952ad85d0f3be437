#include "localb2/Calls.h"

#include "localb2/Encoding.h"
#include "localb2/FileTraits.h"

namespace localb2 {

namespace {

/// The version a lock is set on: a finished file of a bucket with Object Lock.
Located lockable(Call& call, Capability capability)
{
    const auto name = call.fields.text("fileName");
    const auto fileID = call.fields.text("fileId");
    call.caller.need(capability);
    call.caller.needName(name);
    auto located = versionByID(call.core, call.caller, fileID);
    if (!located || located->version.name != name || located->version.kind == FileVersion::Kind::hide)
        throw Failure(400, "file_not_present", "File not present: " + name + " " + fileID);
    if (!located->bucket.isLockEnabled)
        throw Failure(400, "bucket_missing_file_lock", "The bucket is not file lock enabled");
    return std::move(*located);
}

Failure accessDenied()
{
    return {403, "access_denied", "Access Denied"};
}

/// Lengthening is free; everything else depends on the mode in force.
void checkChange(const Retention& before, const Retention& after, bool bypasses, Milliseconds now)
{
    const bool isInForce = before.mode != Retention::Mode::none && before.until > now;
    if (!isInForce)
        return;
    const bool isKept = after.mode == before.mode && after.until >= before.until;
    if (isKept)
        return;
    if (before.mode == Retention::Mode::compliance || !bypasses)
        throw accessDenied();
}

} // namespace

std::string updateFileLegalHold(Call& call)
{
    const auto hold = legalHoldOf(call.fields.text("legalHold"));
    auto located = lockable(call, Capability::writeFileLegalHolds);
    located.version.hold = hold;
    call.core.versions.update(located.version);
    std::string out;
    {
        JSONObject result(out);
        result.text("fileId", call.fields.text("fileId"));
        result.text("fileName", located.version.name);
        result.text("legalHold", hold == LegalHold::on ? "on" : "off");
    }
    return out;
}

std::string updateFileRetention(Call& call)
{
    const auto fields = call.fields.optionalObject("fileRetention");
    if (!fields)
        throw badRequest("required field fileRetention cannot be null");
    const auto retention = retentionOf(*fields);
    const bool bypasses = call.fields.flag("bypassGovernance", false);
    auto located = lockable(call, Capability::writeFileRetentions);
    if (bypasses)
        call.caller.need(Capability::bypassGovernance);
    if (retention.mode != Retention::Mode::none && retention.until <= call.core.now())
        throw Failure(400, "retain_until_timestamp_must_be_in_future", "The retention time is in the past");
    checkChange(located.version.retention, retention, bypasses, call.core.now());
    located.version.retention = retention;
    call.core.versions.update(located.version);
    std::string out;
    {
        JSONObject result(out);
        result.text("fileId", call.fields.text("fileId"));
        result.text("fileName", located.version.name);
        result.raw("fileRetention", retentionJSON(retention));
    }
    return out;
}

} // namespace localb2
