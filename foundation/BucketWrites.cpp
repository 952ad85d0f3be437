#include "foundation/BucketWrites.h"

#include <chrono>
#include <utility>

namespace {

/// Thousands of uploads may end at once; what is shown is read again this often at most.
constexpr std::chrono::seconds gatheringTime(1);

} // namespace

BucketWrites::BucketWrites(QObject* parent)
    : QObject(parent)
{
    gathering_.setSingleShot(true);
    gathering_.setInterval(gatheringTime);
    connect(&gathering_, &QTimer::timeout, this, &BucketWrites::announce);
}

void BucketWrites::note(const std::string& bucketID)
{
    pending_.insert(bucketID);
    Q_EMIT written(bucketID);
    if (!gathering_.isActive())
        announce();
}

void BucketWrites::announce()
{
    const auto buckets = std::exchange(pending_, {});
    // Started first: a reader may write in turn.
    if (!buckets.empty())
        gathering_.start();
    for (const auto& bucketID : buckets)
        Q_EMIT settled(bucketID);
}
