#include "tests/B2Kit/ClientFixture.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

std::string bucket(const std::string& name, const std::string& type = "allPrivate")
{
    return R"({"accountId": "account", "bucketId": "id-of-)" + name + R"(", "bucketName": ")" + name
        + R"(", "bucketType": ")" + type + "\"}";
}

std::string bucketList(const std::string& name)
{
    return R"({"buckets": [)" + bucket(name) + "]}";
}

class BucketCallsTest : public ClientFixture {};
class FileCallsTest : public ClientFixture {};

TEST_F(BucketCallsTest, CreatingABucketSendsOnlyTheSetFields)
{
    transport->answer("b2_create_bucket", bucket("photos")).answer("b2_create_bucket", bucket("photos"));

    run(client->createBucket({.bucketName = "photos", .bucketType = B2BucketType("allPrivate")}));
    run(client->createBucket({.bucketName = "photos",
        .bucketType = B2BucketType("allPrivate"),
        .bucketInfo = {{"team", "north"}},
        .lifecycleRules = {{.fileNamePrefix = "tmp/", .daysFromUploadingToHiding = 7}},
        .isFileLockEnabled = true}));

    EXPECT_THAT(bodiesOf("b2_create_bucket"),
        ElementsAre(R"({"accountId":"account","bucketName":"photos","bucketType":"allPrivate"})",
            R"({"accountId":"account","bucketName":"photos","bucketType":"allPrivate","bucketInfo":{"team":"north"},)"
            R"("lifecycleRules":[{"fileNamePrefix":"tmp/","daysFromUploadingToHiding":7}],"fileLockEnabled":true})"));
}

TEST_F(BucketCallsTest, AnUpdateSendsExactlyTheSetFields)
{
    for (int i = 0; i < 3; ++i)
        transport->answer("b2_update_bucket", bucket("photos"));

    run(client->updateBucket({.bucketID = "b", .lifecycleRules = {std::vector<B2LifecycleRule>()}, .ifRevisionIs = 4}));
    run(client->updateBucket({.bucketID = "b",
        .bucketType = B2BucketType("allPublic"),
        .bucketInfo = {{}},
        .corsRules = {std::vector<B2CORSRule>()},
        .fileLockEnabled = true,
        .defaultRetention = B2RetentionUpdate(),
        .defaultServerSideEncryption = B2EncryptionUpdate{.mode = "SSE-B2", .algorithm = "AES256"}}));
    B2ReplicationConfiguration destinationOnly;
    destinationOnly.asReplicationDestination.emplace().sourceToDestinationKeyMapping = {{"k1", "k2"}};
    run(client->setReplication({.bucketID = "b", .configuration = destinationOnly, .ifRevisionIs = 5}));

    EXPECT_THAT(bodiesOf("b2_update_bucket"),
        ElementsAre(R"({"accountId":"account","bucketId":"b","lifecycleRules":[],"ifRevisionIs":4})",
            R"({"accountId":"account","bucketId":"b","bucketType":"allPublic","bucketInfo":{},"corsRules":[],)"
            R"("fileLockEnabled":true,"defaultRetention":{"mode":null},)"
            R"("defaultServerSideEncryption":{"mode":"SSE-B2","algorithm":"AES256"}})",
            R"({"accountId":"account","bucketId":"b","replicationConfiguration":{"asReplicationSource":null,)"
            R"("asReplicationDestination":{"sourceToDestinationKeyMapping":{"k1":"k2"}}},"ifRevisionIs":5})"));
}

TEST_F(BucketCallsTest, AStaleRevisionIsThrownAtOnce)
{
    transport->refuse("b2_update_bucket", 409, "conflict");

    EXPECT_EQ(failureOf(client->updateBucket({.bucketID = "b", .ifRevisionIs = 1})), "B2 409 conflict: why");
    EXPECT_EQ(transport->count("b2_update_bucket"), 1U);
}

TEST_F(BucketCallsTest, AnUnrestrictedKeyListsAllBucketsAtOnce)
{
    transport->answer("b2_list_buckets", bucketList("a")).answer("b2_list_buckets", R"({"buckets": []})");

    EXPECT_THAT(run(client->listBuckets()), SizeIs(1));
    EXPECT_THAT(run(client->listBuckets("b")), SizeIs(0));

    EXPECT_THAT(bodiesOf("b2_list_buckets"),
        ElementsAre(R"({"accountId":"account"})", R"({"accountId":"account","bucketName":"b"})"));
}

TEST_F(BucketCallsTest, AKeyForOneBucketListsThatBucket)
{
    allowedBuckets = R"([{"id": "b1", "name": null}])";
    transport->answer("b2_list_buckets", bucketList("a"));

    run(client->listBuckets());

    EXPECT_THAT(bodiesOf("b2_list_buckets"), ElementsAre(R"({"accountId":"account","bucketId":"b1"})"));
}

TEST_F(BucketCallsTest, AKeyForSeveralBucketsListsThemOneByOne)
{
    allowedBuckets = R"([{"id": "b3"}, {"id": "b1"}, {"id": "b2"}])";
    for (const auto* name : {"third", "first", "second"})
        transport->answer("b2_list_buckets", bucketList(name));

    const auto buckets = run(client->listBuckets());

    ASSERT_THAT(buckets, SizeIs(3));
    EXPECT_EQ(buckets[0].bucketName, "third");
    EXPECT_EQ(buckets[2].bucketName, "second");
    EXPECT_THAT(bodiesOf("b2_list_buckets"),
        ElementsAre(R"({"accountId":"account","bucketId":"b3"})", R"({"accountId":"account","bucketId":"b1"})",
            R"({"accountId":"account","bucketId":"b2"})"));

    // A bucket that is gone is left out; any other failure fails the listing.
    transport->answer("b2_list_buckets", bucketList("third")).refuse("b2_list_buckets", 400, "bad_bucket_id");
    transport->answer("b2_list_buckets", bucketList("second"));
    EXPECT_THAT(run(client->listBuckets()), SizeIs(2));
    transport->answer("b2_list_buckets", bucketList("third")).refuse("b2_list_buckets", 400, "bad_request");
    EXPECT_EQ(failureOf(client->listBuckets()), "B2 400 bad_request: why");
}

TEST_F(BucketCallsTest, ABucketWhoseAnswerWasLostIsLookedUp)
{
    transport->loseConnection("b2_create_bucket").refuse("b2_create_bucket", 400, "duplicate_bucket_name");
    transport->answer("b2_list_buckets", bucketList("photos"));
    const B2CreateBucketRequest request{.bucketName = "photos", .bucketType = B2BucketType("allPrivate")};
    EXPECT_EQ(run(client->createBucket(request)).bucketID, "id-of-photos");

    // A bucket of another type is not the requested one.
    transport->loseConnection("b2_create_bucket").refuse("b2_create_bucket", 400, "duplicate_bucket_name");
    transport->answer("b2_list_buckets", R"({"buckets": [)" + bucket("photos", "allPublic") + "]}");
    EXPECT_EQ(failureOf(client->createBucket(request)), "B2 400 duplicate_bucket_name: why");

    // Without a lost answer the refusal stands.
    transport->refuse("b2_create_bucket", 400, "duplicate_bucket_name");
    EXPECT_EQ(failureOf(client->createBucket(request)), "B2 400 duplicate_bucket_name: why");

    transport->loseConnection("b2_delete_bucket").refuse("b2_delete_bucket", 400, "bad_bucket_id");
    EXPECT_EQ(run(client->deleteBucket("b1")).bucketID, "b1");
}

TEST_F(FileCallsTest, BodiesContainTheFieldsOfTheCall)
{
    const std::string file = R"({"fileName": "a", "action": "hide"})";
    const std::string page = R"({"files": []})";
    transport->answer("b2_list_file_names", page).answer("b2_list_file_versions", page).answer("b2_hide_file", file);
    transport->answer("b2_delete_file_version", R"({"fileId": "1", "fileName": "a"})")
        .answer("b2_delete_file_version", R"({"fileId": "1", "fileName": "a"})");
    transport->answer("b2_update_file_legal_hold", R"({"fileId": "1", "fileName": "a", "legalHold": "on"})");

    run(client->listFileNames(
        {.bucketID = "b", .startFileName = "m", .maxFileCount = 7, .prefix = "", .delimiter = "/"}));
    run(client->listFileVersions({.bucketID = "b", .startFileName = "m", .startFileID = "4_z"}));
    run(client->hideFile("b", "a"));
    run(client->deleteFileVersion({.fileID = "1", .fileName = "a"}));
    run(client->deleteFileVersion({.fileID = "1", .fileName = "a", .bypassesGovernance = true}));
    EXPECT_EQ(run(client->setLegalHold({.fileID = "1", .fileName = "a", .isOn = true})).legalHold, "on");

    EXPECT_THAT(bodiesOf("b2_list_file_names"),
        ElementsAre(R"({"bucketId":"b","startFileName":"m","maxFileCount":7,"prefix":"","delimiter":"/"})"));
    EXPECT_THAT(bodiesOf("b2_list_file_versions"),
        ElementsAre(R"({"bucketId":"b","startFileName":"m","startFileId":"4_z","maxFileCount":1000})"));
    EXPECT_THAT(bodiesOf("b2_hide_file"), ElementsAre(R"({"bucketId":"b","fileName":"a"})"));
    EXPECT_THAT(bodiesOf("b2_delete_file_version"),
        ElementsAre(R"({"fileId":"1","fileName":"a"})", R"({"fileId":"1","fileName":"a","bypassGovernance":true})"));
    EXPECT_THAT(
        bodiesOf("b2_update_file_legal_hold"), ElementsAre(R"({"fileId":"1","fileName":"a","legalHold":"on"})"));
}

TEST_F(FileCallsTest, ADownloadTokenLastsFromASecondToAWeek)
{
    const std::string token = R"({"bucketId": "b", "fileNamePrefix": "p", "authorizationToken": "t"})";
    for (const int seconds : {0, 700000}) {
        transport->answer("b2_get_download_authorization", token);
        run(client->downloadAuthorization({.bucketID = "b", .fileNamePrefix = "p", .validDurationInSeconds = seconds}));
    }

    EXPECT_THAT(bodiesOf("b2_get_download_authorization"),
        ElementsAre(R"({"bucketId":"b","fileNamePrefix":"p","validDurationInSeconds":1})",
            R"({"bucketId":"b","fileNamePrefix":"p","validDurationInSeconds":604800})"));
}

TEST_F(FileCallsTest, ADeletionWhoseAnswerWasLostCountsAsDone)
{
    const B2DeleteFileVersionRequest request{.fileID = "4_z1", .fileName = "a"};
    transport->loseConnection("b2_delete_file_version").refuse("b2_delete_file_version", 400, "file_not_present");
    EXPECT_EQ(run(client->deleteFileVersion(request)).fileID, "4_z1");

    // A gateway's answer says as little as a lost connection.
    transport->answer("b2_delete_file_version", {504, "time-out"})
        .refuse("b2_delete_file_version", 400, "file_not_present");
    EXPECT_EQ(run(client->deleteFileVersion(request)).fileID, "4_z1");

    // A connection that was never established cannot have deleted anything.
    transport->fail(
                 "b2_delete_file_version", B2TransportError(B2TransportError::Code::cannotConnect, "It was refused."))
        .refuse("b2_delete_file_version", 400, "file_not_present");
    EXPECT_EQ(failureOf(client->deleteFileVersion(request)), "B2 400 file_not_present: why");
}

TEST_F(FileCallsTest, AHideMarkerWhoseAnswerWasLostIsLookedUp)
{
    transport->loseConnection("b2_hide_file").refuse("b2_hide_file", 400, "already_hidden");
    transport->answer("b2_list_file_versions", R"({"files": [{"fileId": "4_zh", "fileName": "a", "action": "hide"}]})");
    EXPECT_EQ(run(client->hideFile("b", "a")).fileID, "4_zh");

    transport->loseConnection("b2_hide_file").refuse("b2_hide_file", 400, "already_hidden");
    transport->answer("b2_list_file_versions", R"({"files": [{"fileId": "4_zh", "fileName": "b", "action": "hide"}]})");
    EXPECT_EQ(failureOf(client->hideFile("b", "a")), "B2 400 already_hidden: why");
}

} // namespace
