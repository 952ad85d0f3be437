#include "tests/storage/unfinished/StorageFixture.h"

#include "storage/unfinished/UnfinishedUploadTexts.h"

#include <algorithm>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr auto grandpa = "Films/Grandpa's 80th.mov";

class UnfinishedUploadsModelTest : public StorageFixture {
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const auto& item : *model.items)
            all.push_back(item.file.fileName);
        return all;
    }
    const LogEntry& lastEntry() const { return log.entries().back(); }
};

TEST_F(UnfinishedUploadsModelTest, ListsWhatIsStoredOfEachUpload)
{
    startFile("Films/just begun.mov");

    load();

    ASSERT_THAT(names(), ElementsAre(grandpa, "Films/just begun.mov"));
    const auto& old = model.items->at(0);
    EXPECT_EQ(old.partCount, 2);
    EXPECT_EQ(old.storedBytes, 10'000'000);
    EXPECT_THAT(rowText(old, std::chrono::system_clock::now()),
        AllOf(StartsWith("10 MB · 2 parts stored · started "), EndsWith(" days ago")));
    EXPECT_EQ(
        rowText(model.items->at(1), std::chrono::system_clock::now()), "no completed parts yet · started just now");
    EXPECT_EQ(rowHelp(model.items->at(1)), "No part has finished yet, so nothing is stored or billed for this upload");
    EXPECT_EQ(footerText(*model.items), "10 MB stored across 2 unfinished uploads");
    EXPECT_EQ(cancelQuestion(old, "Grandpa").text,
        "What Backblaze holds of it (2 parts, 10 MB) is deleted for good, and the upload can no longer be resumed. The "
        "file it comes from stays as it is.");
    EXPECT_TRUE(*model.hasLoaded);
    EXPECT_EQ(lastEntry().message, "2 abandoned uploads in media-archive, 10 MB billed");
    EXPECT_EQ(lastEntry().level, B2LogLevel::info);
    EXPECT_EQ(lastEntry().category, "bucket");
    EXPECT_FALSE(lastEntry().detail);
}

TEST_F(UnfinishedUploadsModelTest, LeavesOutWhatIsBeingUploadedAndForgetsAnotherBucketsList)
{
    load();
    const auto running = *model.items->front().file.fileID;
    model.inFlightFileIDs = [&] { return std::set{running}; };

    load();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(lastEntry().message, "No abandoned uploads in media-archive");
    EXPECT_EQ(lastEntry().detail, "1 unfinished large file is being uploaded right now and were not counted.");

    auto other = films;
    other.bucketID = "another";
    model.open(session, other);
    EXPECT_FALSE(*model.hasLoaded);
}

TEST_F(UnfinishedUploadsModelTest, ACancelDeletesThePartsAndTheRow)
{
    load();
    const auto item = model.items->front();
    std::vector<std::string> forgotten;
    model.didCancel = [&](const std::string& bucketID, const std::string& fileID) {
        EXPECT_EQ(bucketID, films.bucketID);
        forgotten.push_back(fileID);
    };

    model.cancel(item);
    EXPECT_TRUE(model.items->front().isCancelling);
    model.cancel(item);
    ASSERT_TRUE(spinUntil([&] { return model.items->empty(); }));

    EXPECT_THAT(forgotten, ElementsAre(*item.file.fileID));
    EXPECT_EQ(lastEntry().message, std::string("Cancelled the unfinished upload of ") + grandpa);
    EXPECT_EQ(lastEntry().level, B2LogLevel::warning);
    EXPECT_EQ(lastEntry().detail,
        "2 parts, 10 MB. Large file " + *item.file.fileID + ". The upload can no longer be resumed.");
    B2ListUnfinishedLargeFilesRequest request{.bucketID = films.bucketID};
    EXPECT_THAT(qtRun(session->client->listUnfinishedLargeFiles(std::move(request))).files, IsEmpty());
    load();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(std::ranges::count(log.entries(), B2LogLevel::error, &LogEntry::level), 0);
}

TEST_F(UnfinishedUploadsModelTest, ARowStaysWhenTheServiceOrTheKeyRefusesTheCancel)
{
    load();
    const auto item = model.items->front();
    plant(R"({"kind": "status", "operation": "b2_cancel_large_file", "count": 1, "status": 400,
              "code": "bad_request", "message": "refused by the test"})");

    model.cancel(item);
    ASSERT_TRUE(spinUntil([&] { return model.error->has_value(); }));

    EXPECT_THAT(*model.items, ElementsAre(item));
    EXPECT_EQ(lastEntry().message, std::string("Failed to cancel the unfinished upload of ") + grandpa);
    EXPECT_EQ(**model.error, lastEntry().message + ". " + *lastEntry().detail);

    model.open(restrictedSession(B2Capabilities::writeFiles), films);
    load();
    model.cancel(model.items->front());
    EXPECT_FALSE(model.items->front().isCancelling);
    EXPECT_EQ(model.cancelRefusal(), "This key cannot cancel uploads: it lacks writeFiles");
}

TEST_F(UnfinishedUploadsModelTest, AnUploadWhosePartsCannotBeReadIsListedWithoutASize)
{
    startFile("Films/just begun.mov");
    plant(R"({"kind": "status", "operation": "b2_list_parts", "count": 1, "status": 400, "code": "bad_request",
              "message": "refused by the test"})");

    load();
    ASSERT_THAT(*model.items, SizeIs(2));
    EXPECT_FALSE(model.items->at(0).storedBytes);
    EXPECT_TRUE(rowText(model.items->at(0), std::chrono::system_clock::now()).starts_with("size unknown · started"));
    EXPECT_EQ(model.items->at(1).partCount, 0);
    EXPECT_EQ(lastEntry().message, "2 abandoned uploads in media-archive, no parts stored yet");

    model.refreshSizes();
    ASSERT_TRUE(spinUntil([&] { return !*model.isLoading; }));
    EXPECT_EQ(model.items->at(0).storedBytes, 10'000'000);
}

TEST_F(UnfinishedUploadsModelTest, AFailedLoadKeepsTheListAndSaysWhy)
{
    load();
    plant(R"({"kind": "status", "operation": "b2_list_unfinished_large_files", "count": 1, "status": 400,
              "code": "bad_request", "message": "refused by the test"})");

    load();

    EXPECT_THAT(names(), ElementsAre(grandpa));
    EXPECT_EQ(lastEntry().message, "Could not check media-archive for abandoned uploads");
    EXPECT_EQ(*model.error, lastEntry().detail);
}

TEST_F(UnfinishedUploadsModelTest, ReportsThatTheBucketIsGone)
{
    auto gone = films;
    gone.bucketID = "0123456789abcdef01234567";
    std::string reported;
    model.onBucketGone = [&](std::string bucketID) -> Task<> {
        reported = std::move(bucketID);
        co_return;
    };
    model.open(session, gone);

    load();

    EXPECT_EQ(*model.error, "This bucket no longer exists");
    EXPECT_TRUE(spinUntil([&] { return reported == gone.bucketID; }));
}

TEST_F(UnfinishedUploadsModelTest, AnswersOfAnEarlierSessionReachNeitherRowsNorErrorNorAnotherBucket)
{
    bool wasBucketDropped = false;
    model.onBucketGone = [&](std::string) -> Task<> {
        wasBucketDropped = true;
        co_return;
    };
    std::string cancelledIn;
    model.didCancel = [&](const std::string& bucketID, const std::string&) { cancelledIn = bucketID; };
    const auto later = restrictedSession({});
    load();
    const auto item = model.items->front();

    // Refused, because the bucket is gone.
    plant(R"({"kind": "status", "operation": "b2_cancel_large_file", "count": 1, "status": 400,
              "code": "bad_bucket_id", "message": "Bucket does not exist"})");
    auto held = transport->hold("b2_cancel_large_file");
    model.cancel(item);
    ASSERT_TRUE(spinUntil([&] { return held.hasArrived->load(); }));
    model.reset(later);
    const auto before = log.entries().size();
    held.release.set();
    ASSERT_TRUE(spinUntil([&] { return log.entries().size() > before; }));
    EXPECT_THAT(lastEntry().message, StartsWith("Failed to cancel the unfinished upload of"));
    EXPECT_FALSE(*model.error);
    EXPECT_FALSE(wasBucketDropped);

    // Listed and cancelled, but too late to be shown.
    model.open(session, films);
    load();
    auto cancelled = transport->hold("b2_cancel_large_file");
    model.cancel(item);
    auto listed = transport->hold("b2_list_unfinished_large_files");
    model.load();
    ASSERT_TRUE(spinUntil([&] { return cancelled.hasArrived->load() && listed.hasArrived->load(); }));
    model.reset(nullptr);
    listed.release.set();
    cancelled.release.set();
    ASSERT_TRUE(spinUntil([&] { return !cancelledIn.empty(); }));
    EXPECT_EQ(cancelledIn, films.bucketID);
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_FALSE(*model.isLoading);
    EXPECT_FALSE(*model.hasLoaded);
    EXPECT_FALSE(*model.bucket);
}

TEST_F(UnfinishedUploadsModelTest, AsksOnlyForWhatTheKeyReaches)
{
    model.open(restrictedSession({}, "Music/"), films);
    load();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_TRUE(*model.hasLoaded);

    model.open(restrictedSession(B2Capabilities::listFiles), films);
    load();
    EXPECT_FALSE(*model.hasLoaded);
    EXPECT_TRUE(model.error->has_value());
    EXPECT_EQ(lastEntry().level, B2LogLevel::warning);
    EXPECT_EQ(lastEntry().message, "Cannot check media-archive for abandoned uploads");
    EXPECT_EQ(
        lastEntry().detail, "This key does not permit listFiles, so billed unfinished large files cannot be surfaced.");
}

} // namespace
