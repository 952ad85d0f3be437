#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/wire/B2Encoding.h"
#include "B2Kit/wire/JSONObject.h"

#include <algorithm>
#include <iterator>

Task<B2Bucket> B2Client::createBucket(B2CreateBucketRequest request)
{
    const auto authorization = co_await currentAuthorization();
    JSONObject body;
    body.set("accountId", authorization->accountID)
        .set("bucketName", request.bucketName)
        .set("bucketType", request.bucketType.rawValue);
    if (!request.bucketInfo.empty())
        body.set("bucketInfo", request.bucketInfo);
    if (!request.lifecycleRules.empty())
        body.setRaw("lifecycleRules", encodeRecord(request.lifecycleRules));
    if (request.isFileLockEnabled)
        body.set("fileLockEnabled", true);

    bool mayHaveBeenDone = false;
    std::exception_ptr refusal;
    try {
        co_return co_await callJSON<B2Bucket>(
            {.operation = "b2_create_bucket", .body = std::move(body).text(), .mayHaveBeenDone = &mayHaveBeenDone});
    } catch (const B2Error& error) {
        if (!mayHaveBeenDone || !isRefusal(error, "duplicate_bucket_name"))
            throw;
        refusal = std::current_exception();
    }
    // The answer to an earlier attempt was lost: the name may be taken by the bucket that it created.
    for (auto& bucket : co_await listBuckets(request.bucketName)) {
        if (bucket.bucketName == request.bucketName && bucket.bucketType == request.bucketType
            && bucket.bucketInfo == request.bucketInfo)
            co_return std::move(bucket);
    }
    std::rethrow_exception(refusal);
}

Task<B2Bucket> B2Client::updateBucket(B2UpdateBucketRequest request)
{
    const auto authorization = co_await currentAuthorization();
    JSONObject body;
    body.set("accountId", authorization->accountID).set("bucketId", request.bucketID);
    if (request.bucketType)
        body.set("bucketType", request.bucketType->rawValue);
    body.setIfPresent("bucketInfo", request.bucketInfo);
    if (request.lifecycleRules)
        body.setRaw("lifecycleRules", encodeRecord(*request.lifecycleRules));
    if (request.corsRules)
        body.setRaw("corsRules", encodeRecord(*request.corsRules));
    body.setIfPresent("fileLockEnabled", request.fileLockEnabled);
    if (request.defaultRetention)
        body.setRaw("defaultRetention", encodeRecord(*request.defaultRetention));
    if (request.defaultServerSideEncryption)
        body.setRaw("defaultServerSideEncryption", encodeRecord(*request.defaultServerSideEncryption));
    if (request.replicationConfiguration)
        body.setRaw("replicationConfiguration", encodeRecord(*request.replicationConfiguration));
    body.setIfPresent("ifRevisionIs", request.ifRevisionIs);
    co_return co_await callJSON<B2Bucket>({.operation = "b2_update_bucket", .body = std::move(body).text()});
}

Task<B2Bucket> B2Client::setReplication(B2SetReplicationRequest request)
{
    const auto authorization = co_await currentAuthorization();
    JSONObject body;
    body.set("accountId", authorization->accountID)
        .set("bucketId", request.bucketID)
        .setRaw("replicationConfiguration", encodeReplacement(request.configuration))
        .setIfPresent("ifRevisionIs", request.ifRevisionIs);
    co_return co_await callJSON<B2Bucket>({.operation = "b2_update_bucket", .body = std::move(body).text()});
}

Task<B2Bucket> B2Client::deleteBucket(std::string bucketID)
{
    const auto authorization = co_await currentAuthorization();
    JSONObject body;
    body.set("accountId", authorization->accountID).set("bucketId", bucketID);
    bool mayHaveBeenDone = false;
    try {
        co_return co_await callJSON<B2Bucket>(
            {.operation = "b2_delete_bucket", .body = std::move(body).text(), .mayHaveBeenDone = &mayHaveBeenDone});
    } catch (const B2Error& error) {
        if (!mayHaveBeenDone || !isRefusal(error, "bad_bucket_id"))
            throw;
    }
    // The answer to an earlier attempt was lost, and the bucket is gone.
    co_return B2Bucket{.accountID = authorization->accountID, .bucketID = std::move(bucketID)};
}

Task<std::vector<B2Bucket>> B2Client::listBuckets(std::optional<std::string> name)
{
    const auto authorization = co_await currentAuthorization();
    const auto& allowed = authorization->storage.allowed.buckets;
    // The service refuses a plain listing to a key restricted to several buckets, so each bucket takes a call.
    const bool asksOneByOne = !name && allowed.size() > 1;
    std::vector<B2Bucket> buckets;
    for (std::size_t i = 0; i < (asksOneByOne ? allowed.size() : 1); ++i) {
        JSONObject body;
        body.set("accountId", authorization->accountID).setIfPresent("bucketName", name);
        if (asksOneByOne || allowed.size() == 1)
            body.set("bucketId", allowed[i].id);
        try {
            auto page = co_await callJSON<std::vector<B2Bucket>>(
                {.operation = "b2_list_buckets", .body = std::move(body).text()});
            std::ranges::move(page, std::back_inserter(buckets));
        } catch (const B2Error& refusal) {
            // A key outlives a bucket that it is restricted to.
            if (allowed.empty() || !refusal.api() || !refusal.api()->isBadBucketID())
                throw;
        }
    }
    co_return buckets;
}
