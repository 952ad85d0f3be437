#include "tests/transfers/TransferServiceFixture.h"

#include "foundation/settings/SettingsKeys.h"

#include <QSignalSpy>

#include <set>

using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class LargeUploadTest : public TransferServiceFixture {
protected:
    void SetUp() override
    {
        TransferServiceFixture::SetUp();
        store = qtRun(ResumeStore::open(directory / "uploads.sqlite"));
        ASSERT_TRUE(store);
        queue.setResumeStore(store.get());
        // Holes cost no disk space; the last bytes distinguish two files.
        writeFile(file, "");
        std::filesystem::resize_file(file, largeFileThreshold);
        rewrite(largeFileThreshold - 5, "end A");
    }

    void rewrite(std::int64_t offset, std::string_view bytes)
    {
        std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
        stream.seekp(offset);
        stream << bytes;
    }

    /// The second of two parts fails for good, so the first one stays at the service.
    std::shared_ptr<Transfer> interruptedUpload()
    {
        // Delayed, so that the first one is stored before.
        plant(
            R"([{"kind": "stall", "operation": "b2_upload_part", "after": 1, "in": "request", "at": 1, "milliseconds": 1500},
                  {"kind": "status", "operation": "b2_upload_part", "after": 1, "status": 400, "code": "bad_request",
                   "message": "refused by the test"}])");
        auto transfer = upload(file);
        EXPECT_TRUE(endOf(transfer).is(Case::failed));
        clearFaults();
        return transfer;
    }

    void clearFaults()
    {
        B2HTTPRequest request{.url = service.url() + "/_local/faults/clear", .body = std::string()};
        ASSERT_EQ(qtRun(transport->data(std::move(request))).response.status, 200);
    }

    std::vector<B2FileVersion> unfinished()
    {
        B2ListUnfinishedLargeFilesRequest request{.bucketID = bucket.bucketID};
        return qtRun(session->client->listUnfinishedLargeFiles(std::move(request))).files;
    }

    const std::filesystem::path file = directory / "film.mov";
    std::unique_ptr<ResumeStore> store;
};

TEST_F(LargeUploadTest, SendsAFileOfExactlyTheThresholdInPartsAfterAChecksumPass)
{
    std::set<int> parts;
    bool hasHashed = false;
    const auto transfer = upload(file, "films/");
    const QObject watch; // Ends the connection before what it refers to goes.
    QObject::connect(transfer.get(), &Observable::changed, &watch, [&] {
        hasHashed |= *transfer->isHashing;
        parts.insert(transfer->partsCompleted->value_or(-1));
        if (*transfer->resumableFileID) {
            EXPECT_TRUE(store->upload(**transfer->resumableFileID));
        }
    });
    EXPECT_EQ(endOf(transfer), State::finished());

    EXPECT_TRUE(hasHashed);
    EXPECT_FALSE(*transfer->isHashing);
    EXPECT_EQ(*transfer->partCount, 2);
    EXPECT_THAT(parts, Contains(0));
    const auto versions = stored();
    ASSERT_EQ(versions.size(), 1U);
    EXPECT_EQ(versions.front().contentLength, largeFileThreshold);
    EXPECT_TRUE(versions.front().largeFileSHA1());
    EXPECT_FALSE(store->upload(*versions.front().fileID));
    EXPECT_THAT(lines(), Contains("Preparing film.mov, reading it to record a checksum"));
    EXPECT_THAT(lines(), Contains("Uploaded film.mov"));
}

TEST_F(LargeUploadTest, RecordsNoChecksumWhenThatIsTurnedOffOrSkippedForTheFolder)
{
    settings.set(SettingsKeys::recordWholeFileChecksum, true);
    EXPECT_EQ(endOf(upload(file)), State::finished());
    EXPECT_FALSE(stored().front().largeFileSHA1());
    EXPECT_THAT(lines(), Contains("Uploading film.mov without a whole-file checksum"));
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("Preparing"))));
}

TEST_F(LargeUploadTest, GivesTheChecksumPassUpWhenItIsSkipped)
{
    std::filesystem::resize_file(file, 1'000'000'000);
    plant(R"({"kind": "status", "operation": "b2_upload_part", "status": 400, "code": "bad_request"})");
    const auto transfer = upload(file);
    ASSERT_TRUE(spinUntil([&] { return *transfer->isHashing; }));
    queue.skipChecksum(transfer);
    queue.skipChecksum(transfer);
    EXPECT_TRUE(endOf(transfer).is(Case::failed));

    EXPECT_TRUE(*transfer->checksumSkipped);
    EXPECT_THAT(*transfer->startedSHA1, IsEmpty());
    EXPECT_EQ(std::ranges::count(lines(), "Skipped the checksum for film.mov"), 1);
    ASSERT_EQ(unfinished().size(), 1U);
    EXPECT_FALSE(unfinished().front().largeFileSHA1());
}

TEST_F(LargeUploadTest, GoesOnWithTheStoredPartsAfterAFailure)
{
    const auto transfer = interruptedUpload();
    const auto fileID = **transfer->resumableFileID;
    EXPECT_THAT(transfer->state->text, HasSubstr("refused by the test"));
    EXPECT_THAT(*transfer->partsInTrouble, IsEmpty());
    ASSERT_TRUE(store->upload(fileID));
    EXPECT_EQ(store->upload(fileID)->source.path, file);

    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_EQ(transfer->partsAtStart->value_or(0), 1);
    EXPECT_EQ(*transfer->bytesTransferred, largeFileThreshold);
    EXPECT_THAT(lines(), Contains("Skipping the checksum pass for film.mov"));
    ASSERT_EQ(stored().size(), 1U);
    EXPECT_EQ(*stored().front().fileID, fileID);
    EXPECT_FALSE(store->upload(fileID));
    EXPECT_EQ(queue.transfers->size(), 1U);
}

TEST_F(LargeUploadTest, ResumesInALaterRunOnlyWithTheSameContent)
{
    const auto fileID = **interruptedUpload()->resumableFileID;
    qtRun(store->flush());
    queue.clearFinished();
    store = qtRun(ResumeStore::open(directory / "uploads.sqlite"));
    queue.setResumeStore(store.get());
    const auto record = store->upload(fileID);
    ASSERT_TRUE(record);

    // Edited where no part is stored yet, so that the stored part alone cannot show it.
    rewrite(largeFileThreshold - 5, "end B");
    EXPECT_EQ(qtRun(queue.resume(*record, bucket, session)), std::nullopt);
    const auto changed = queue.transfers->back();
    EXPECT_THAT(endOf(changed).text, HasSubstr("has to start again"));
    EXPECT_FALSE(*changed->resumableFileID);
    EXPECT_EQ(unfinished().size(), 1U);
    EXPECT_THAT(lines(), Contains("Reading film.mov again before the upload goes on"));

    // As it was, though with another date.
    rewrite(largeFileThreshold - 5, "end A");
    EXPECT_EQ(qtRun(queue.resume(*record, bucket, session)), std::nullopt);
    EXPECT_EQ(endOf(queue.transfers->back()), State::finished());
    EXPECT_EQ(*stored().front().fileID, fileID);

    std::filesystem::remove(file);
    const auto refusal = qtRun(queue.resume(*record, bucket, session));
    EXPECT_THAT(refusal.value_or(""), HasSubstr("is no longer in"));
}

TEST_F(LargeUploadTest, ClaimsNoPartsWhenTheUnfinishedFileWentWhileTheyWereSent)
{
    plant(R"({"kind": "stall", "operation": "b2_upload_part", "in": "request", "at": 1000000, "milliseconds": 1500})");
    const auto transfer = upload(file);
    ASSERT_TRUE(spinUntil([&] { return transfer->partCount->has_value(); }));
    qtRun(session->client->cancelLargeFile(**transfer->resumableFileID));

    EXPECT_THAT(endOf(transfer).text, HasSubstr("no longer at B2"));
    EXPECT_THAT(log.entries().back().detail.value_or(""), Not(HasSubstr("holds the parts")));
    clearFaults();
    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished()) << "the retry sends the whole file";
}

TEST_F(LargeUploadTest, SendsTheWholeFileWhenTheUnfinishedOneIsGone)
{
    const auto transfer = interruptedUpload();
    const auto fileID = **transfer->resumableFileID;
    qtRun(session->client->cancelLargeFile(fileID));

    queue.retry(transfer);
    EXPECT_THAT(endOf(transfer).text, HasSubstr("no longer at B2"));
    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_NE(*stored().front().fileID, fileID);
}

TEST_F(LargeUploadTest, StaysResumableAfterACancel)
{
    plant(R"({"kind": "stall", "operation": "b2_upload_part", "in": "request", "at": 1000000, "milliseconds": 20000})");
    const auto transfer = upload(file);
    ASSERT_TRUE(spinUntil([&] { return transfer->resumableFileID->has_value(); }));
    EXPECT_THAT(queue.inFlightFileIDs(), Contains(**transfer->resumableFileID));
    queue.cancel(transfer);
    EXPECT_EQ(*transfer->state, State::cancelled());
    EXPECT_TRUE(store->upload(**transfer->resumableFileID));
    EXPECT_THAT(queue.inFlightFileIDs(), IsEmpty());
    clearFaults();

    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_THAT(unfinished(), IsEmpty());
}

TEST_F(LargeUploadTest, ShowsAPartThatWaitsForABusyService)
{
    plant(R"({"kind": "status", "operation": "b2_upload_part", "status": 503, "count": 1})");
    std::string trouble;
    const auto transfer = upload(file);
    const QObject watch; // Ends the connection before what it refers to goes.
    QObject::connect(transfer.get(), &Observable::changed, &watch, [&] {
        for (const auto& [number, text] : *transfer->partsInTrouble)
            trouble = text;
    });
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_THAT(trouble, HasSubstr("retrying in"));
    EXPECT_THAT(*transfer->partsInTrouble, IsEmpty());
}

} // namespace
