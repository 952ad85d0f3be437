#include "localb2/BucketTable.h"

#include "localb2/Database.h"

namespace localb2 {

namespace {

#define BUCKET_COLUMNS                                                                                                 \
    "row, id, account, name, type, revision, info, cors, lifecycle, replication, encrypted, locked, retention, "       \
    "duration, unit"

Bucket bucketOf(const Query& row)
{
    return {
        .row = row.integer(0),
        .id = std::string(row.text(1)),
        .accountID = std::string(row.text(2)),
        .name = std::string(row.text(3)),
        .type = std::string(row.text(4)),
        .revision = row.integer(5),
        .info = std::string(row.text(6)),
        .corsRules = std::string(row.text(7)),
        .lifecycleRules = std::string(row.text(8)),
        .replication = std::string(row.text(9)),
        .isManagedEncryption = row.integer(10) != 0,
        .isLockEnabled = row.integer(11) != 0,
        .defaultRetention = static_cast<Retention::Mode>(row.integer(12)),
        .retentionDuration = row.integer(13),
        .retentionUnit = std::string(row.text(14)),
    };
}

std::optional<Bucket> onlyBucket(Query&& query)
{
    return query.next() ? std::optional(bucketOf(query)) : std::nullopt;
}

} // namespace

void BucketTable::insert(Bucket& bucket)
{
    Query query(database_,
        "INSERT INTO buckets (id, account, name, type, revision, info, cors, lifecycle, replication, encrypted, "
        "locked, retention, duration, unit) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) RETURNING row",
        bucket.id, bucket.accountID, bucket.name, bucket.type, bucket.revision, bucket.info, bucket.corsRules,
        bucket.lifecycleRules, bucket.replication, bucket.isManagedEncryption, bucket.isLockEnabled,
        static_cast<int>(bucket.defaultRetention), bucket.retentionDuration, bucket.retentionUnit);
    query.next();
    bucket.row = query.integer(0);
    query.run();
}

void BucketTable::update(const Bucket& bucket)
{
    Query(database_,
        "UPDATE buckets SET type = ?, revision = ?, info = ?, cors = ?, lifecycle = ?, replication = ?, "
        "encrypted = ?, locked = ?, retention = ?, duration = ?, unit = ? WHERE row = ?",
        bucket.type, bucket.revision, bucket.info, bucket.corsRules, bucket.lifecycleRules, bucket.replication,
        bucket.isManagedEncryption, bucket.isLockEnabled, static_cast<int>(bucket.defaultRetention),
        bucket.retentionDuration, bucket.retentionUnit, bucket.row)
        .run();
}

void BucketTable::erase(std::int64_t row)
{
    Query(database_, "DELETE FROM buckets WHERE row = ?", row).run();
}

std::optional<Bucket> BucketTable::byID(std::string_view id) const
{
    return onlyBucket(Query(database_, "SELECT " BUCKET_COLUMNS " FROM buckets WHERE id = ?", id));
}

std::optional<Bucket> BucketTable::byRow(std::int64_t row) const
{
    return onlyBucket(Query(database_, "SELECT " BUCKET_COLUMNS " FROM buckets WHERE row = ?", row));
}

std::optional<Bucket> BucketTable::byName(std::string_view name) const
{
    return onlyBucket(Query(database_, "SELECT " BUCKET_COLUMNS " FROM buckets WHERE name = ?", name));
}

std::vector<Bucket> BucketTable::ofAccount(std::string_view accountID) const
{
    std::vector<Bucket> buckets;
    Query query(
        database_, "SELECT " BUCKET_COLUMNS " FROM buckets WHERE account = ? ORDER BY name COLLATE BINARY", accountID);
    while (query.next())
        buckets.push_back(bucketOf(query));
    return buckets;
}

} // namespace localb2
