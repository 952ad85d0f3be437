#include "B2Kit/calls/B2AccountKeys.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "tests/B2Kit/LocalServiceFixture.h"

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

class LocalServiceTest : public LocalServiceFixture {};
class LocalLargeFileTest : public LocalLargeFileFixture {};

TEST_F(LocalServiceTest, OddNamesComeBackUnchanged)
{
    const auto bucket = makeBucket("odd-names");
    std::vector<std::string> names = {"a b.txt", "a+b", "100%", "a%2Fb", "../up", "a//b/./c", "ü/é\u0301", "\U0001F600",
        "q?x=1&y#z", "back\\slash", "\"quoted\"", "trailing. ", std::string(1024, 'n')};
    for (const auto& name : names)
        upload(bucket, name, "text of " + name);

    EXPECT_THAT(run(namesIn(bucket.bucketID)), UnorderedElementsAreArray(names));
    for (const auto& name : names) {
        const auto file = run(client->downloadByName({.bucketName = "odd-names", .fileName = name}));
        EXPECT_EQ(file.data, "text of " + name);
        EXPECT_EQ(file.metadata.fileName, name);
        EXPECT_EQ(file.metadata.fileInfo.at("note"), "50% of ä/b");
        EXPECT_TRUE(file.metadata.checksum.isVerified());
    }
}

TEST_F(LocalServiceTest, AnUploadedFileIsDownloadedWithItsBytesAndItsDate)
{
    const auto bucket = makeBucket("round-trip");
    const auto text = variedText(3'000'000);
    std::ofstream(folder / "source", std::ios::binary) << text;
    const std::chrono::system_clock::time_point date(std::chrono::milliseconds(1700000000123));

    const auto stored = run(client->uploadFile({.bucketID = bucket.bucketID,
        .fileName = "movie",
        .body = B2FileRange{folder / "source", 0, 3'000'000},
        .modificationDate = date}));
    EXPECT_EQ(stored.contentSHA1, sha1Of(text));
    const auto metadata = run(client->downloadByIDToFile({.fileID = stored.fileID.value()}, {.path = folder / "copy"}));

    std::ostringstream copy;
    copy << std::ifstream(folder / "copy", std::ios::binary).rdbuf();
    EXPECT_EQ(copy.str(), text);
    EXPECT_TRUE(metadata.checksum.isVerified());
    EXPECT_EQ(std::chrono::file_clock::to_sys(std::filesystem::last_write_time(folder / "copy")), date);

    const auto part =
        run(client->downloadByID({.fileID = *stored.fileID, .range = B2ByteRange{.first = 10, .last = 19}}));
    EXPECT_EQ(part.data, text.substr(10, 10));
    EXPECT_TRUE(part.metadata.isPartial);
}

TEST_F(LocalServiceTest, FilesAreHiddenAndDeletedVersionByVersion)
{
    const auto bucket = makeBucket("versions");
    const auto file = upload(bucket, "a", "1");
    const auto marker = run(client->hideFile(bucket.bucketID, "a"));
    EXPECT_TRUE(run(client->listFileNames({.bucketID = bucket.bucketID})).files.empty());
    EXPECT_EQ(run(client->fileInfo(*file.fileID)).fileName, "a");

    // The service carries out the call but does not answer.
    control("faults", R"({"kind": "loseReply", "operation": "b2_delete_file_version", "count": 1})");
    run(client->deleteFileVersion({.fileID = *marker.fileID, .fileName = "a"}));
    run(client->deleteFileVersion({.fileID = *file.fileID, .fileName = "a"}));
    EXPECT_THAT(run(namesIn(bucket.bucketID)), ElementsAre());
    run(client->deleteBucket(bucket.bucketID));
    EXPECT_TRUE(run(client->listBuckets()).empty());
}

TEST_F(LocalServiceTest, CallsSucceedDespiteFaults)
{
    const auto bucket = makeBucket("faults");
    control("faults", R"({"kind": "status", "operation": "b2_upload_file", "status": 503, "count": 3})");
    control("faults", R"({"kind": "resetAnswer", "operation": "b2_list_file_versions", "at": 20, "count": 1})");
    const auto file = upload(bucket, "a", "text");
    control("expire-tokens", "{}");

    EXPECT_THAT(run(namesIn(bucket.bucketID)), ElementsAre("a"));

    control("faults", R"({"kind": "corrupt", "operation": "b2_download_file_by_id", "at": 1, "count": 1})");
    EXPECT_THROW(run(client->downloadByIDToFile({.fileID = *file.fileID}, {.path = folder / "copy"})), B2Error);
    EXPECT_FALSE(std::filesystem::exists(folder / "copy"));
    EXPECT_EQ(run(client->downloadByID({.fileID = *file.fileID})).data, "text");
}

TEST_F(LocalServiceTest, KeysAreCompleteHoweverTheVersionsDivideThem)
{
    const auto first = makeBucket("keys-first").bucketID;
    const auto second = makeBucket("keys-second").bucketID;
    for (const auto* shared : {"false", "true"}) {
        SCOPED_TRACE(shared);
        control("options", std::string(R"({"keysJoined": )") + shared + "}");
        std::vector<std::string> made;
        for (const auto& bucketIDs : {std::vector<std::string>(), {first}, {first, second}}) {
            const auto created = run(client->createKey(
                {.capabilities = {B2Capabilities::listBuckets}, .keyName = "n", .bucketIDs = bucketIDs}));
            EXPECT_EQ(created.key.bucketIDs, bucketIDs);
            made.push_back(created.key.applicationKeyID);

            const auto owner = clientWith(created.key.applicationKeyID, created.applicationKey);
            EXPECT_EQ(run(owner->listBuckets()).size(), bucketIDs.empty() ? 2U : bucketIDs.size());
        }
        EXPECT_THAT(run(keyIDs()), UnorderedElementsAreArray(made));

        for (const auto& id : made)
            EXPECT_EQ(run(deleteAccountKey(client, id)).applicationKeyID, id);
        EXPECT_THAT(run(keyIDs()), ElementsAre());
        EXPECT_THROW(run(deleteAccountKey(client, made.front())), B2Error);
    }
}

TEST_F(LocalLargeFileTest, AFileSentInPartsIsDownloadedUnchanged)
{
    auto request = largeUpload();
    request.modificationDate = std::chrono::system_clock::time_point(std::chrono::milliseconds(1700000000123));

    const auto version = run(uploadLargeFile(client, request));

    EXPECT_EQ(version.fileID, startedID);
    EXPECT_EQ(version.contentLength, 12'000'000);
    EXPECT_EQ(version.largeFileSHA1(), digest);
    EXPECT_EQ(version.lastModified(), request.modificationDate);
    EXPECT_EQ(digestOf(version), digest);
    EXPECT_THAT(run(unfinished()), ElementsAre());
}

TEST_F(LocalLargeFileTest, AnInterruptedUploadResumesWhereItStopped)
{
    control("faults",
        R"({"kind": "status", "operation": "b2_upload_part", "after": 2, "status": 403, "code": "cap_exceeded"})");
    auto request = largeUpload();
    request.concurrency = 1;
    EXPECT_THROW(run(uploadLargeFile(client, request)), B2Error);
    EXPECT_THAT(run(unfinished()), ElementsAre(startedID));
    control("faults/clear", "{}");

    // Another run of the program has a new client.
    client = clientWith(service.masterKey().keyID, service.masterKey().applicationKey);
    request.resumeFileID = startedID;
    request.verifiesEveryPart = true;
    const auto version = run(uploadLargeFile(client, request));

    EXPECT_EQ(partsBefore, 2);
    EXPECT_EQ(version.fileID, startedID);
    EXPECT_EQ(digestOf(version), digest);

    // The program was killed after the end, before that was recorded.
    EXPECT_EQ(run(uploadLargeFile(client, request)).fileID, version.fileID);
    EXPECT_THAT(run(namesIn(bucket.bucketID)), ElementsAre("films/ä.mp4"));
}

TEST_F(LocalLargeFileTest, FaultsInThePartsAndAtTheEndLoseNothing)
{
    control("faults",
        R"([{"kind": "resetRequest", "operation": "b2_upload_part", "at": 2500000, "count": 2},)"
        R"( {"kind": "loseReply", "operation": "b2_upload_part", "after": 3, "count": 1},)"
        R"( {"kind": "status", "operation": "b2_upload_part", "after": 4, "count": 2, "status": 503},)"
        R"( {"kind": "status", "operation": "b2_get_upload_part_url", "count": 1, "status": 500},)"
        R"( {"kind": "loseReply", "operation": "b2_finish_large_file", "count": 1}])");

    const auto version = run(uploadLargeFile(client, largeUpload()));

    EXPECT_EQ(version.action.rawValue, "upload");
    EXPECT_EQ(digestOf(version), digest);
    EXPECT_THAT(run(namesIn(bucket.bucketID)), ElementsAre("films/ä.mp4"));
}

TEST_F(LocalLargeFileTest, AStopInTheMiddleOfAPartIsImmediate)
{
    control("faults",
        R"({"kind": "stall", "operation": "b2_upload_part", "in": "request", "at": 100000, "milliseconds": 3000})");
    std::atomic<bool> isSending = false;
    auto request = largeUpload();
    request.onProgress = [&](std::int64_t, std::int64_t) { isSending = true; };
    StartedTask<B2FileVersion> task(uploadLargeFile(client, request));
    while (!isSending && !task.waitFor(std::chrono::milliseconds(1))) {}

    task.cancel();

    ASSERT_TRUE(task.waitFor(std::chrono::seconds(1)));
    EXPECT_THROW(task.result(), Cancelled);
    EXPECT_THAT(run(unfinished()), ElementsAre(startedID));
    EXPECT_EQ(run(client->cancelLargeFile(startedID)).fileName, "films/ä.mp4");
    EXPECT_THAT(run(unfinished()), ElementsAre());
}

TEST_F(LocalServiceTest, AWrongKeyIsReported)
{
    const auto stranger = clientWith(service.masterKey().keyID, "wrong");

    EXPECT_THROW(run(stranger->authorized()), B2Error);
    EXPECT_FALSE(run(stranger->authorization()));
}

} // namespace
