#include "buckets/BucketsModel.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "buckets/BucketReach.h"
#include "foundation/NaturalOrder.h"

#include <QPointer>

#include <algorithm>

Task<> BucketsModel::reload()
{
    if (!*session)
        co_return;
    // Awaited by tasks of other objects too, which may outlive the model.
    const QPointer<BucketsModel> self(this);
    const Ticket mine = ticket();
    isLoading = true;
    std::vector<B2Bucket> listed;
    std::exception_ptr failure;
    try {
        if (mine.session->may(B2Capabilities::listBuckets))
            listed = co_await mine.session->client->listBuckets();
        else
            listed = bucketsNamedBy(mine.session->authorization);
        std::ranges::sort(listed, {}, [](const B2Bucket& bucket) { return naturalSortKey(bucket.bucketName); });
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || !isCurrent(mine))
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

void BucketsModel::clear()
{
    isLoading = false;
    isAnswered = false;
    buckets = std::vector<B2Bucket>();
    error = std::nullopt;
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
