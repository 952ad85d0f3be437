#include "localb2/Access.h"

#include <algorithm>

namespace localb2 {

namespace {

Failure badToken(std::string message = "Invalid authorization token")
{
    return {401, "bad_auth_token", std::move(message)};
}

} // namespace

void Caller::need(Capability capability) const
{
    if (!can(capability))
        throw unauthorized();
}

void Caller::needAny(Capability first, Capability second) const
{
    if (!can(first) && !can(second))
        throw unauthorized();
}

bool Caller::mayUseBucket(std::string_view bucketID) const
{
    return !key_.bucketIDs || std::ranges::find(*key_.bucketIDs, bucketID) != key_.bucketIDs->end();
}

void Caller::needBucket(std::string_view bucketID) const
{
    if (!mayUseBucket(bucketID))
        throw unauthorized();
}

void Caller::needName(std::string_view name) const
{
    if (!name.starts_with(key_.prefix))
        throw unauthorized();
}

ReadRights Caller::readRights() const
{
    return {
        .fileRetention = can(Capability::readFileRetentions),
        .legalHold = can(Capability::readFileLegalHolds),
        .bucketEncryption = can(Capability::readBucketEncryption),
        .bucketRetention = can(Capability::readBucketRetentions),
        .bucketReplication = can(Capability::readBucketReplications),
    };
}

std::string_view tokenOf(const Request& request)
{
    const auto* const header = request.header("Authorization");
    if (!header || header->empty())
        throw badToken();
    return *header;
}

Caller callerOf(Core& core, std::string_view tokenText, Token::Kind kind)
{
    const auto* const token = core.tokens.find(tokenText);
    if (!token || token->kind != kind)
        throw badToken();
    auto key = core.keys.byID(token->keyID);
    if (!key)
        throw badToken();
    const auto now = core.now();
    if (token->expires <= now || (key->expires && *key->expires <= now))
        throw Failure(401, "expired_auth_token", "Authorization token has expired");
    return Caller(std::move(*key));
}

Bucket bucketFor(Core& core, const Caller& caller, std::string_view bucketID)
{
    caller.needBucket(bucketID);
    auto bucket = core.buckets.byID(bucketID);
    if (!bucket || bucket->accountID != caller.accountID())
        throw Failure(400, "bad_bucket_id", "Bucket " + std::string(bucketID) + " does not exist");
    return std::move(*bucket);
}

std::optional<Located> versionByID(Core& core, const Caller& caller, std::string_view fileID)
{
    const auto sequence = sequenceOf(fileID);
    if (!sequence)
        throw badRequest("Invalid fileId: " + std::string(fileID.substr(0, 300)));
    auto version = core.versions.bySequence(*sequence);
    if (!version)
        return std::nullopt;
    auto bucket = core.buckets.byRow(version->bucket);
    if (!bucket || bucket->accountID != caller.accountID() || fileIDOf(bucket->id, *version) != fileID)
        return std::nullopt;
    caller.needBucket(bucket->id);
    caller.needName(version->name);
    return Located{std::move(*bucket), std::move(*version)};
}

RecordStyle styleFor(const Core& core, const Caller& caller, const Bucket& bucket, int apiVersion)
{
    return {
        .accountID = bucket.accountID,
        .bucketID = bucket.id,
        .rights = caller.readRights(),
        .isFirstVersion = apiVersion == 1,
        .areMarkerHashesNull = core.settings.areMarkerHashesNull,
    };
}

} // namespace localb2
