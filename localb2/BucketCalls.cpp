#include "localb2/Calls.h"

#include "localb2/BucketRules.h"
#include "localb2/Encoding.h"

#include <boost/json.hpp>

#include <algorithm>

namespace localb2 {

namespace {

std::string recordOf(Call& call, const Bucket& bucket)
{
    std::string out;
    appendBucketRecord(out, bucket, call.caller.readRights());
    return out;
}

void needForField(const Call& call, std::string_view field, Capability capability)
{
    if (call.fields.holds(field))
        call.caller.need(capability);
}

/// Requires `writeBuckets`, or for an update the narrow capability of each field that is sent.
void needForUpdate(const Call& call)
{
    needForField(call, "fileLockEnabled", Capability::writeBucketRetentions);
    needForField(call, "defaultRetention", Capability::writeBucketRetentions);
    needForField(call, "defaultServerSideEncryption", Capability::writeBucketEncryption);
    needForField(call, "replicationConfiguration", Capability::writeBucketReplications);
    if (call.caller.can(Capability::writeBuckets))
        return;
    static constexpr std::pair<std::string_view, Capability> narrow[] = {
        {"bucketInfo", Capability::writeBucketInfo},
        {"bucketType", Capability::writeBucketType},
        {"corsRules", Capability::writeBucketCors},
        {"lifecycleRules", Capability::writeBucketLifecycleRules},
    };
    bool hasField = call.fields.holds("fileLockEnabled") || call.fields.holds("defaultRetention")
        || call.fields.holds("defaultServerSideEncryption") || call.fields.holds("replicationConfiguration");
    for (const auto& [field, capability] : narrow) {
        needForField(call, field, capability);
        hasField = hasField || call.fields.holds(field);
    }
    if (!hasField)
        throw unauthorized();
}

void applySimpleFields(const Call& call, Bucket& bucket)
{
    if (const auto type = call.fields.optionalText("bucketType")) {
        checkBucketType(*type);
        bucket.type = *type;
    }
    if (call.fields.optionalObject("bucketInfo"))
        bucket.info = checkedBucketInfo(call.fields);
    if (call.fields.optionalArray("lifecycleRules"))
        bucket.lifecycleRules = checkedLifecycleRules(call.fields);
    if (call.fields.optionalArray("corsRules"))
        bucket.corsRules = checkedCORSRules(call.fields);
}

void applyEncryption(const Call& call, Bucket& bucket)
{
    const auto encryption = call.fields.optionalObject("defaultServerSideEncryption");
    if (!encryption)
        return;
    const auto mode = encryption->optionalText("mode");
    if (mode && *mode != "SSE-B2")
        throw badRequest("A bucket's default encryption is SSE-B2");
    // Without a mode the default goes back to what a new bucket has.
    bucket.isManagedEncryption = true;
}

void applyReplication(const Call& call, Bucket& bucket)
{
    const auto replication = call.fields.optionalObject("replicationConfiguration");
    if (!replication)
        return;
    const bool isCleared = !replication->find("asReplicationSource") && !replication->find("asReplicationDestination");
    bucket.replication = isCleared ? "null" : boost::json::serialize(replication->object());
}

void applyDefaultRetention(const Call& call, Bucket& bucket)
{
    const auto retention = call.fields.optionalObject("defaultRetention");
    if (!retention)
        return;
    if (!bucket.isLockEnabled)
        throw Failure(400, "bucket_missing_file_lock", "The bucket is not file lock enabled");
    const auto mode = retention->optionalText("mode");
    if (!mode) {
        bucket.defaultRetention = Retention::Mode::none;
        return;
    }
    if (*mode != "governance" && *mode != "compliance")
        throw badRequest("Unknown retention mode: " + *mode);
    const auto period = retention->optionalObject("period");
    if (!period)
        throw badRequest("required field period cannot be null");
    const auto duration = period->number("duration");
    const auto unit = period->text("unit");
    if (unit != "days" && unit != "years")
        throw badRequest("Unknown unit of a retention period: " + unit);
    if (duration < 1 || duration * (unit == "years" ? 365 : 1) > 3000)
        throw badRequest("The retention period is outside of 1 to 3000 days");
    bucket.defaultRetention = *mode == "governance" ? Retention::Mode::governance : Retention::Mode::compliance;
    bucket.retentionDuration = duration;
    bucket.retentionUnit = unit;
}

bool hasReplicationSource(const Bucket& bucket)
{
    const auto replication = boost::json::parse(bucket.replication);
    const auto* const object = replication.if_object();
    const auto* const source = object ? object->if_contains("asReplicationSource") : nullptr;
    return source && !source->is_null();
}

} // namespace

std::string createBucket(Call& call)
{
    call.needOwnAccount();
    const auto name = call.fields.text("bucketName");
    const auto type = call.fields.text("bucketType");
    call.caller.need(Capability::writeBuckets);
    needForField(call, "defaultServerSideEncryption", Capability::writeBucketEncryption);
    needForField(call, "replicationConfiguration", Capability::writeBucketReplications);
    if (call.fields.flag("fileLockEnabled", false))
        call.caller.need(Capability::writeBucketRetentions);
    if (call.caller.key().bucketIDs)
        throw unauthorized();
    checkBucketName(name);
    checkBucketType(type);
    Bucket bucket{.id = randomHex(24), .accountID = call.caller.accountID(), .name = name, .type = type};
    applySimpleFields(call, bucket);
    applyEncryption(call, bucket);
    applyReplication(call, bucket);
    bucket.isLockEnabled = call.fields.flag("fileLockEnabled", false);
    if (call.core.buckets.byName(name))
        throw Failure(400, "duplicate_bucket_name", "Bucket name is already in use.");
    if (call.core.buckets.ofAccount(bucket.accountID).size() >= 100)
        throw Failure(400, "too_many_buckets", "An account has at most 100 buckets");
    call.core.buckets.insert(bucket);
    return recordOf(call, bucket);
}

std::string updateBucket(Call& call)
{
    call.needOwnAccount();
    const auto bucketID = call.fields.text("bucketId");
    needForUpdate(call);
    auto bucket = bucketFor(call.core, call.caller, bucketID);
    if (const auto revision = call.fields.optionalNumber("ifRevisionIs"); revision && *revision != bucket.revision)
        throw Failure(409, "conflict", "simultaneous updates to bucket");
    applySimpleFields(call, bucket);
    if (call.fields.find("fileLockEnabled")) {
        const bool enables = call.fields.flag("fileLockEnabled", false);
        if (!enables && bucket.isLockEnabled)
            throw Failure(400, "file_lock_conflict", "Object Lock cannot be switched off");
        if (enables && !bucket.isLockEnabled && hasReplicationSource(bucket))
            throw Failure(400, "source_replication_conflict", "The bucket is a replication source");
        if (enables && bucket.type == "restricted")
            throw Failure(400, "restricted_bucket_conflict", "The bucket is restricted");
        bucket.isLockEnabled = enables;
    }
    applyDefaultRetention(call, bucket);
    applyEncryption(call, bucket);
    applyReplication(call, bucket);
    ++bucket.revision;
    call.core.buckets.update(bucket);
    return recordOf(call, bucket);
}

std::string deleteBucket(Call& call)
{
    call.needOwnAccount();
    const auto bucketID = call.fields.text("bucketId");
    call.caller.need(Capability::deleteBuckets);
    auto bucket = bucketFor(call.core, call.caller, bucketID);
    if (!call.core.versions.isBucketEmpty(bucket.row))
        throw Failure(400, "cannot_delete_non_empty_bucket", "Cannot delete non-empty bucket");
    call.core.buckets.erase(bucket.row);
    ++bucket.revision;
    return recordOf(call, bucket);
}

std::string listBuckets(Call& call)
{
    call.needOwnAccount();
    const auto id = call.fields.optionalText("bucketId");
    const auto name = call.fields.optionalText("bucketName");
    std::vector<std::string> types = {"allPublic", "allPrivate", "snapshot"};
    if (const auto* const list = call.fields.optionalArray("bucketTypes")) {
        types.clear();
        for (const auto& type : *list)
            types.emplace_back(type.is_string() ? std::string(type.get_string()) : std::string());
    }
    call.caller.need(Capability::listBuckets);
    if (call.caller.key().bucketIDs) {
        if (!id && !name)
            throw unauthorized();
        if (id)
            call.caller.needBucket(*id);
        if (name) {
            const auto named = call.core.buckets.byName(*name);
            if (!named || !call.caller.mayUseBucket(named->id))
                throw unauthorized();
        }
    }
    const bool isAnyType = std::ranges::find(types, "all") != types.end();
    std::string out = "{\"buckets\":[";
    for (const auto& bucket : call.core.buckets.ofAccount(call.caller.accountID())) {
        const bool isAsked = (!id || *id == bucket.id) && (!name || equalIgnoringCase(*name, bucket.name))
            && (isAnyType || std::ranges::find(types, bucket.type) != types.end());
        if (!isAsked)
            continue;
        out += out.back() == '[' ? "" : ",";
        appendBucketRecord(out, bucket, call.caller.readRights());
    }
    return out += "]}";
}

} // namespace localb2
