#include "tests/B2Kit/wire/Decoding.h"

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/B2File.h"
#include "B2Kit/B2Key.h"
#include "B2Kit/uploads/B2Upload.h"
#include "B2Kit/wire/B2Encoding.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

constexpr auto restrictedAuthorization = R"({"accountId": "4a1b", "applicationKeyExpirationTimestamp": 1772705700123,
    "authorizationToken": "4_token", "apiInfo": {"groupsApi": {}, "storageApi": {
        "absoluteMinimumPartSize": 5000000, "recommendedPartSize": 100000000, "apiUrl": "https://api004.example.com",
        "downloadUrl": "https://f004.example.com", "s3ApiUrl": "https://s3.example.com",
        "allowed": {"capabilities": ["listFiles", "flyToTheMoon"],
            "buckets": [{"id": "b-1", "name": "photos"}, {"id": "b-2", "name": null}], "namePrefix": "daily/"}}}})";

constexpr auto keyRecord = R"({"accountId": "4a1b", "applicationKeyId": "0044", "keyName": "backup-reader",
    "capabilities": ["readFiles", "listFiles", "flyToTheMoon"], "bucketIds": ["b-1", "b-2"], "namePrefix": "daily/",
    "expirationTimestamp": 1772705700123, "options": ["s3"], "applicationKey": "K004secret"})";

constexpr auto versionRecord =
    R"({"accountId": "4a1b", "action": "upload", "bucketId": "b-1", "contentLength": 5000000000,
    "contentSha1": "none", "contentMd5": null, "contentType": "text/plain", "fileId": "4_z1",
    "fileInfo": {"src_last_modified_millis": "1772700000123", "large_file_sha1": "8c72"}, "fileName": "notes/ä\n\"x\".txt",
    "fileRetention": {"isClientAuthorizedToRead": true, "value": {"mode": "governance", "retainUntilTimestamp": 1800000000000}},
    "legalHold": {"isClientAuthorizedToRead": true, "value": "on"}, "replicationStatus": "completed",
    "serverSideEncryption": {"mode": "sse-c", "algorithm": "AES256"}, "uploadTimestamp": 1772705700000})";

B2FileVersion versionWith(std::string_view field)
{
    return decodeRecord<B2FileVersion>(R"({"fileName": "a", "action": "upload", )" + std::string(field) + "}");
}

} // namespace

TEST(AuthorizationTest, FlattensTheStorageGroup)
{
    const auto authorization = decodeRecord<B2Authorization>(restrictedAuthorization);

    EXPECT_EQ(authorization.accountID, "4a1b");
    EXPECT_EQ(authorization.authorizationToken, "4_token");
    EXPECT_EQ(authorization.applicationKeyExpirationTimestamp, 1772705700123);
    EXPECT_EQ(authorization.storage.apiURL, "https://api004.example.com");
    EXPECT_EQ(authorization.storage.downloadURL, "https://f004.example.com");
    EXPECT_EQ(authorization.storage.s3URL, "https://s3.example.com");
    EXPECT_EQ(authorization.storage.recommendedPartSize, 100'000'000);
    EXPECT_EQ(authorization.storage.absoluteMinimumPartSize, 5'000'000);
    const auto& allowed = authorization.storage.allowed;
    EXPECT_THAT(allowed.capabilities, ElementsAre(B2Capability("flyToTheMoon"), B2Capabilities::listFiles));
    EXPECT_EQ(
        allowed.buckets, (std::vector<B2Authorization::BucketRestriction>{{"b-1", "photos"}, {"b-2", std::nullopt}}));
    EXPECT_EQ(allowed.namePrefix, "daily/");
    EXPECT_THAT(decodeRecord<B2Authorization>(
                    replaced(replaced(restrictedAuthorization, "buckets", "old"), "\"https://s3.example.com\"", "null"))
                    .storage.allowed.buckets,
        IsEmpty());
}

TEST(AuthorizationTest, NeedsTheAddressesItWillSendTheTokenTo)
{
    const auto refusalOf = [](std::string_view part, std::string_view by) {
        return refusal<B2Authorization>(replaced(restrictedAuthorization, part, by));
    };

    EXPECT_EQ(refusalOf("storageApi", "otherApi"), "apiInfo.storageApi: missing");
    EXPECT_EQ(refusalOf("apiInfo", "other"), "apiInfo: missing");
    EXPECT_EQ(refusalOf("\"downloadUrl\"", "\"url\""), "apiInfo.storageApi.downloadUrl: missing");
    for (const auto* address : {"", "api.example.com", "file:///etc/passwd", "https://", "https:///x", "https://a b"})
        EXPECT_EQ(refusalOf("https://api004.example.com", address),
            "apiInfo.storageApi.apiUrl: expected an address that starts with https")
            << address;
    EXPECT_EQ(refusalOf("[\"listFiles\"", "[7"), "apiInfo.storageApi.allowed.capabilities[0]: expected a text");
}

TEST(ApplicationKeyTest, KeepsUnknownCapabilitiesAndItsSecretToItself)
{
    const auto created = decodeRecord<B2CreatedApplicationKey>(keyRecord);

    EXPECT_EQ(created.applicationKey, "K004secret");
    EXPECT_THAT(created.key.capabilities, SizeIs(3));
    EXPECT_THAT(created.key.bucketIDs, ElementsAre("b-1", "b-2"));
    EXPECT_EQ(created.description(), "B2CreatedApplicationKey(keyName: backup-reader, applicationKey: <redacted>)");
    const auto kept = encodeRecord(created.key);
    EXPECT_EQ(decodeRecord<B2ApplicationKey>(kept), created.key);
    EXPECT_EQ(kept.find("K004secret"), std::string::npos);
    EXPECT_EQ(refusal<B2CreatedApplicationKey>(kept), "applicationKey: missing");
}

TEST(ApplicationKeyTest, ReadsTheOneBucketOfOlderVersions)
{
    const auto bucketsOf = [](std::string_view fields) {
        return decodeRecord<B2ApplicationKey>(replaced(keyRecord, R"("bucketIds": ["b-1", "b-2"])", fields)).bucketIDs;
    };

    EXPECT_THAT(bucketsOf(R"("bucketId": "b-9")"), ElementsAre("b-9"));
    EXPECT_THAT(bucketsOf(R"("bucketId": "b-9", "bucketIds": null)"), ElementsAre("b-9"));
    EXPECT_THAT(bucketsOf(R"("bucketId": "b-9", "bucketIds": ["b-1"])"), ElementsAre("b-1"));
    EXPECT_THAT(bucketsOf(R"("bucketId": null)"), IsEmpty());
    EXPECT_EQ(decodeRecord<B2KeysPage>(R"({"keys": [], "nextApplicationKeyId": "0045"})").nextApplicationKeyID, "0045");
}

TEST(FileVersionTest, IsReadAndWrittenWithoutLoss)
{
    const auto version = decodeRecord<B2FileVersion>(versionRecord);

    EXPECT_EQ(version.id(), "4_z1");
    EXPECT_EQ(version.fileName, "notes/ä\n\"x\".txt");
    EXPECT_EQ(version.contentLength, 5'000'000'000);
    EXPECT_EQ(version.contentType, "text/plain");
    EXPECT_EQ(version.contentSHA1, "none");
    EXPECT_EQ(version.uploadTimestamp, 1772705700000);
    EXPECT_EQ(version.lastModified()->time_since_epoch(), std::chrono::milliseconds(1772700000123));
    EXPECT_EQ(version.largeFileSHA1(), "8c72");
    EXPECT_EQ(version.legalHold, B2LegalHold::on);
    EXPECT_EQ(version.fileRetention->value()->retainUntilTimestamp, 1800000000000);
    EXPECT_EQ(version.replicationStatus->kind(), B2ReplicationStatus::Kind::completed);
    EXPECT_TRUE(version.usesCustomerKey());
    EXPECT_FALSE(version.usesServerKey());
    EXPECT_EQ(decodeRecord<B2FileVersion>(encodeRecord(version)), version);
}

TEST(FileVersionTest, OfAFolderHasNoFileID)
{
    const auto page = decodeRecord<B2FileListPage>(R"({"files": [{"action": "folder", "fileName": "photos/",
        "fileId": null, "contentSha1": null, "fileInfo": {}, "uploadTimestamp": 0}, {"action": "hide", "fileName": "x"}],
        "nextFileName": "photos/a", "nextFileId": null})");

    ASSERT_THAT(page.files, SizeIs(2));
    EXPECT_TRUE(page.files[0].isFolder());
    EXPECT_EQ(page.files[0].id(), "folder:photos/");
    EXPECT_EQ(page.files[0].contentLength, 0);
    EXPECT_TRUE(page.files[1].isHideMarker());
    EXPECT_EQ(page.files[1].lastModified(), std::nullopt);
    EXPECT_EQ(page.nextFileName, "photos/a");
    EXPECT_EQ(page.nextFileID, std::nullopt);
}

TEST(FileVersionTest, ReadsTheLegalHoldIfTheKeyMay)
{
    const auto holdOf = [](std::string_view json) {
        return versionWith("\"legalHold\": " + std::string(json)).legalHold;
    };

    EXPECT_EQ(holdOf(R"({"isClientAuthorizedToRead": false, "value": "on"})"), B2LegalHold::unknown);
    EXPECT_EQ(holdOf(R"({"isClientAuthorizedToRead": true, "value": "off"})"), B2LegalHold::off);
    EXPECT_EQ(holdOf(R"({"value": "maybe"})"), B2LegalHold::unset);
    EXPECT_EQ(holdOf(R"({"value": 3})"), B2LegalHold::unset);
    EXPECT_EQ(holdOf(R"({"isClientAuthorizedToRead": true, "value": null})"), B2LegalHold::unset);
    EXPECT_EQ(holdOf(R"("on")"), B2LegalHold::unset);
    for (const auto hold : {B2LegalHold::on, B2LegalHold::off, B2LegalHold::unset, B2LegalHold::unknown})
        EXPECT_EQ(holdOf(encodeRecord(hold)), hold);
}

TEST(FileVersionTest, KeepsAnUnknownReplicationStatus)
{
    const auto strange = versionWith(R"("replicationStatus": "Paused")");

    EXPECT_EQ(strange.replicationStatus->kind(), B2ReplicationStatus::Kind::unknown);
    EXPECT_EQ(encodeRecord(*strange.replicationStatus), "\"Paused\"");
    EXPECT_EQ(encodeRecord(B2ReplicationStatus::fromText("replica")), "\"REPLICA\"");
    EXPECT_EQ(versionWith(R"("replicationStatus": 1)").replicationStatus, std::nullopt);
}

TEST(FileVersionTest, TakesAModificationTimeOnlyFromAWholeNumberText)
{
    const auto timeOf = [](std::string text) {
        return lastModifiedFrom({{"src_last_modified_millis", std::move(text)}});
    };

    EXPECT_EQ(timeOf("-1000")->time_since_epoch(), std::chrono::seconds(-1));
    for (const auto* text : {"", " 5", "5 ", "0x5", "yesterday", "nan", "inf", "1e300", "9223372036854775807"})
        EXPECT_EQ(timeOf(text), std::nullopt) << text;
}

TEST(UploadRecordsTest, AreRead)
{
    const auto target = decodeRecord<B2UploadTarget>(
        R"({"bucketId": "b-1", "uploadUrl": "https://pod.example.com/x", "authorizationToken": "t"})");
    const auto parts = decodeRecord<B2PartsPage>(
        R"({"parts": [{"fileId": "f", "partNumber": 2, "contentLength": 7, "contentSha1": "61b8"},
            {"fileId": "f", "partNumber": 3}], "nextPartNumber": 4})");

    EXPECT_EQ(target, (B2UploadTarget{"b-1", "https://pod.example.com/x", "t"}));
    EXPECT_THAT(parts.parts, ElementsAre(B2Part{"f", 2, 7, "61b8", 0}, B2Part{"f", 3, 0, std::nullopt, 0}));
    EXPECT_EQ(parts.nextPartNumber, 4);
    EXPECT_EQ(
        decodeRecord<B2CancelledLargeFile>(R"({"accountId": "a", "bucketId": "b", "fileId": "f", "fileName": "n"})"),
        (B2CancelledLargeFile{"f", "a", "b", "n"}));
    EXPECT_EQ(refusal<B2UploadPartTarget>(R"({"fileId": "f", "uploadUrl": "/x", "authorizationToken": "t"})"),
        "uploadUrl: expected an address that starts with https");
    EXPECT_EQ(refusal<B2CopiedPart>(R"({"fileId": "f", "partNumber": 1, "contentLength": 5})"), "contentSha1: missing");
    EXPECT_EQ(decodeRecord<B2APIError>(R"({"code": "cap_exceeded", "message": "", "status": 403})"),
        (B2APIError{403, "cap_exceeded", ""}));
}

TEST(EncodingTest, LeavesOutWhatIsAbsentExceptWhereNullClears)
{
    EXPECT_EQ(encodeRecord(B2EncryptionUpdate{}), R"({"mode":null})");
    EXPECT_EQ(encodeRecord(B2RetentionUpdate{}), R"({"mode":null})");
    EXPECT_EQ(encodeRecord(B2RetentionUpdate{"governance", B2DefaultRetention::Period{7, "days"}}),
        R"({"mode":"governance","period":{"duration":7,"unit":"days"}})");
    EXPECT_EQ(encodeRecord(std::vector<B2LifecycleRule>{{"tmp/", 1, std::nullopt, std::nullopt}}),
        R"([{"fileNamePrefix":"tmp/","daysFromUploadingToHiding":1}])");
    EXPECT_EQ(encodeRecord(B2Readable<B2ServerSideEncryption>::notAuthorized()),
        R"({"isClientAuthorizedToRead":false,"value":null})");
    const B2CORSRule rule{"web-site", {"*"}, {B2CORSOperation("s3_new")}, {}, {{"x-a"}}, 5};
    EXPECT_EQ(encodeRecord(std::vector{rule}),
        R"([{"corsRuleName":"web-site","allowedOrigins":["*"],"allowedOperations":["s3_new"],)"
        R"("exposeHeaders":["x-a"],"maxAgeSeconds":5}])");
    const B2ReplicationConfiguration destination{
        std::nullopt, B2ReplicationConfiguration::Destination{{{"k-1", "k-2"}}}};
    const std::string side = R"("asReplicationDestination":{"sourceToDestinationKeyMapping":{"k-1":"k-2"}}})";
    EXPECT_EQ(encodeRecord(destination), "{" + side);
    EXPECT_EQ(encodeReplacement(destination), R"({"asReplicationSource":null,)" + side);
}
