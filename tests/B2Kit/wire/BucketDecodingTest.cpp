#include "tests/B2Kit/wire/Decoding.h"

#include "B2Kit/B2Bucket.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

constexpr auto plainBucket = R"({
    "accountId": "4a1b2c3d4e5f", "bucketId": "b-1", "bucketName": "photos-2026", "bucketType": "allPrivate"})";

/// A bucket with one more field.
B2Bucket bucketWith(std::string_view field)
{
    return decodeRecord<B2Bucket>(replaced(plainBucket, "{", "{" + std::string(field) + ","));
}

B2Bucket lockedBucket(std::string_view retention)
{
    return bucketWith(R"("fileLockConfiguration": {"isClientAuthorizedToRead": true, "value":
        {"isFileLockEnabled": true, "defaultRetention": )"
        + std::string(retention) + "}}");
}

std::optional<B2DefaultRetention::Period> periodOf(const B2Bucket& bucket)
{
    return bucket.fileLock->value()->defaultRetention->period;
}

} // namespace

TEST(BucketDecodingTest, ReadsAWholeBucket)
{
    const auto buckets = decodeRecord<std::vector<B2Bucket>>(R"({"buckets": [{
        "accountId": "4a1b2c3d4e5f", "bucketId": "b-1", "bucketName": "photos-2026", "bucketType": "allPublic",
        "revision": 2, "bucketInfo": {"team": "north"}, "options": ["s3"], "somethingNew": [{}],
        "lifecycleRules": [{"fileNamePrefix": "tmp/", "daysFromUploadingToHiding": 7, "daysFromHidingToDeleting": null}],
        "corsRules": [{"corsRuleName": "web-site", "allowedOrigins": ["*"], "allowedOperations": ["s3_get", "s3_new"],
            "allowedHeaders": ["range"], "exposeHeaders": null, "maxAgeSeconds": 3600}],
        "defaultServerSideEncryption": {"isClientAuthorizedToRead": true, "value": {"mode": "SSE-B2", "algorithm": "AES256"}},
        "fileLockConfiguration": {"isClientAuthorizedToRead": true, "value": {"isFileLockEnabled": true,
            "defaultRetention": {"mode": "governance", "period": {"duration": 30, "unit": "days"}}}},
        "replicationConfiguration": {"isClientAuthorizedToRead": true, "value": {"asReplicationSource": {
            "sourceApplicationKeyId": "k-1", "replicationRules": [{"replicationRuleName": "copy-all",
            "destinationBucketId": "b-2", "isEnabled": false, "priority": 5}]}, "asReplicationDestination": null}}}]})");

    ASSERT_THAT(buckets, SizeIs(1));
    const auto& bucket = buckets.front();
    EXPECT_EQ(bucket.accountID, "4a1b2c3d4e5f");
    EXPECT_EQ(bucket.bucketID, "b-1");
    EXPECT_EQ(bucket.bucketName, "photos-2026");
    EXPECT_TRUE(bucket.bucketType.isPublic());
    EXPECT_EQ(bucket.revision, 2);
    EXPECT_TRUE(bucket.isS3Enabled());
    EXPECT_THAT(bucket.bucketInfo, ElementsAre(Pair("team", "north")));
    EXPECT_THAT(
        bucket.lifecycleRules, ElementsAre(B2LifecycleRule{.fileNamePrefix = "tmp/", .daysFromUploadingToHiding = 7}));
    const B2CORSRule rule{.corsRuleName = "web-site",
        .allowedOrigins = {"*"},
        .allowedOperations = {B2CORSOperation("s3_get"), B2CORSOperation("s3_new")},
        .allowedHeaders = {{"range"}},
        .maxAgeSeconds = 3600};
    EXPECT_THAT(bucket.corsRules, ElementsAre(rule));
    EXPECT_EQ(
        bucket.defaultEncryption, B2Readable<B2ServerSideEncryption>::known({.mode = "SSE-B2", .algorithm = "AES256"}));
    EXPECT_EQ(periodOf(bucket), (B2DefaultRetention::Period{30, "days"}));
    const auto& source = bucket.replication->configuration()->asReplicationSource;
    EXPECT_EQ(source->sourceApplicationKeyID, "k-1");
    const B2ReplicationRule copyAll{
        .replicationRuleName = "copy-all", .destinationBucketID = "b-2", .isEnabled = false, .priority = 5};
    EXPECT_THAT(source->replicationRules, ElementsAre(copyAll));
}

TEST(BucketDecodingTest, DefaultsWhatIsMissingOrNull)
{
    const auto bucket = decodeRecord<B2Bucket>(plainBucket);

    EXPECT_EQ(bucketWith(R"("bucketInfo": null, "lifecycleRules": null, "revision": null, "corsRules": null,
        "fileLockConfiguration": null, "options": null)"),
        bucket);
    EXPECT_EQ(bucket.revision, 0);
    EXPECT_FALSE(bucket.isS3Enabled());
    EXPECT_EQ(bucket.fileLock, std::nullopt);
    EXPECT_EQ(bucket.replication, std::nullopt);
    EXPECT_THAT(B2Bucket::knownKeys(), SizeIs(12));
}

TEST(BucketDecodingTest, ToleratesAWrongShapeOnlyWhereAFieldMustNotLoseABucket)
{
    const auto plain = decodeRecord<B2Bucket>(plainBucket);

    for (const auto* field : {R"("corsRules": "none")", R"("corsRules": [{"corsRuleName": "half"}])", R"("options": 3)",
             R"("options": ["s3", 3])", R"("fileLockConfiguration": [])",
             R"("defaultServerSideEncryption": {"isClientAuthorizedToRead": true, "value": {"mode": 1}})",
             R"("replicationConfiguration": {"value": {"asReplicationSource": {}}})"})
        EXPECT_EQ(bucketWith(field), plain) << field;

    const auto wrong = [](std::string_view field) {
        return refusal<B2Bucket>(replaced(plainBucket, "{", "{" + std::string(field) + ","));
    };
    EXPECT_EQ(wrong(R"("bucketInfo": [])"), "bucketInfo: expected an object");
    EXPECT_EQ(wrong(R"("bucketInfo": {"a": 1})"), "bucketInfo: expected only texts as values");
    EXPECT_EQ(wrong(R"("lifecycleRules": [{}])"), "lifecycleRules[0].fileNamePrefix: missing");
    EXPECT_EQ(wrong(R"("revision": "2")"), "revision: expected a whole number");
}

TEST(BucketDecodingTest, DistinguishesUnreadableFromUnsetValues)
{
    const auto notReadable = bucketWith(R"("fileLockConfiguration": {"isClientAuthorizedToRead": false,
        "value": {"isFileLockEnabled": true}}, "replicationConfiguration": {"isClientAuthorizedToRead": false})");
    const auto notSet = bucketWith(R"("fileLockConfiguration": {"isClientAuthorizedToRead": true, "value": null},
        "replicationConfiguration": {"isClientAuthorizedToRead": true, "value": null})");

    EXPECT_EQ(notReadable.fileLock, B2Readable<B2FileLockConfiguration>::notAuthorized());
    EXPECT_TRUE(notReadable.replication->isUnknown());
    EXPECT_EQ(notSet.fileLock, B2Readable<B2FileLockConfiguration>::notAuthorized());
    EXPECT_EQ(notSet.replication, B2BucketReplication::unconfigured());
    EXPECT_TRUE(bucketWith(R"("fileLockConfiguration": {"value": {}})").fileLock->isKnown());
}

TEST(BucketDecodingTest, ReadsAPeriodAsAnObjectOrAsAText)
{
    EXPECT_EQ(periodOf(lockedBucket(R"({"period": "30 days"})")), (B2DefaultRetention::Period{30, "days"}));
    for (const auto* period : {R"("30")", R"("days")", R"("x days")", R"("30 ")", R"("3x days")", R"("30 days more")",
             R"("99999999999 days")", R"({"duration": 30})", R"(30)", R"(null)"}) {
        const auto bucket = lockedBucket(R"({"mode": "compliance", "period": )" + std::string(period) + "}");
        EXPECT_EQ(periodOf(bucket), std::nullopt) << period;
        EXPECT_EQ(bucket.fileLock->value()->defaultRetention->mode, B2DefaultRetention::Mode::compliance) << period;
    }
    EXPECT_EQ(lockedBucket(R"({"mode": "legal"})").fileLock->value()->defaultRetention->mode, std::nullopt);
}

TEST(BucketDecodingTest, SummarizesObjectLock)
{
    const auto summary = [](std::string_view retention) {
        return lockedBucket(retention).fileLockSummary().value_or("");
    };

    EXPECT_EQ(decodeRecord<B2Bucket>(plainBucket).fileLockSummary(), std::nullopt);
    EXPECT_EQ(bucketWith(R"("fileLockConfiguration": {"value": {"isFileLockEnabled": false}})").fileLockSummary(),
        std::nullopt);
    EXPECT_EQ(bucketWith(R"("fileLockConfiguration": {})").fileLockSummary(),
        "This key cannot read the Object Lock setting, so Kestrovan cannot say whether this bucket is locked.");
    const auto* unprotected = "Object Lock is on, but no default retention is set, so new files are not protected.";
    EXPECT_EQ(summary("null"), unprotected);
    EXPECT_EQ(summary(R"({"mode": null, "period": "7 days"})"), unprotected);
    EXPECT_EQ(summary(R"({"mode": "governance", "period": {"duration": 1, "unit": "years"}})"),
        "Object Lock is on. New files are locked in governance mode for 1 year.");
    EXPECT_EQ(summary(R"({"mode": "compliance", "period": {"duration": 30, "unit": "day"}})"),
        "Object Lock is on. New files are locked in compliance mode for 30 days.");
    EXPECT_EQ(summary(R"({"mode": "compliance"})"),
        "Object Lock is on. New files are locked in compliance mode for an unstated period.");
}
