#include "buckets/BucketsModel.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "buckets/BucketReach.h"
#include "foundation/NaturalOrder.h"

#include <QPointer>

#include <algorithm>

Task<> BucketsModel::reload()
{
    const auto current = *session;
    if (!current)
        co_return;
    // Started by others' tasks too, which may outlive the model.
    const QPointer<BucketsModel> self(this);
    const int generation = ++generation_;
    isLoading = true;
    std::vector<B2Bucket> listed;
    std::exception_ptr failure;
    try {
        if (current->may(B2Capabilities::listBuckets))
            listed = co_await current->client->listBuckets();
        else
            listed = bucketsNamedBy(current->authorization);
        std::ranges::sort(listed, {}, [](const B2Bucket& bucket) { return naturalSortKey(bucket.bucketName); });
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || generation != generation_)
        co_return;
    isLoading = false;
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    isAnswered = true;
    if (failure) {
        error = describe(failure);
        co_return;
    }
    buckets = std::move(listed);
    error = std::nullopt;
}

void BucketsModel::reset(std::shared_ptr<B2Session> newSession)
{
    ++generation_;
    isLoading = false;
    isAnswered = false;
    buckets = std::vector<B2Bucket>();
    error = std::nullopt;
    session = std::move(newSession);
}

void BucketsModel::drop(const std::string& bucketID)
{
    buckets.update(
        [&](auto& all) { std::erase_if(all, [&](const B2Bucket& bucket) { return bucket.bucketID == bucketID; }); });
}

const B2Bucket* BucketsModel::bucket(const std::string& bucketID) const
{
    const auto found = std::ranges::find(*buckets, bucketID, &B2Bucket::bucketID);
    return found == buckets->end() ? nullptr : &*found;
}
