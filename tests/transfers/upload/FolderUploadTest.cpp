#include "tests/transfers/TransferServiceFixture.h"

#include "transfers/TransferTexts.h"
#include "transfers/upload/FolderScan.h"

#include <QSignalSpy>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace {

class FolderUploadTest : public TransferServiceFixture {
protected:
    void SetUp() override
    {
        TransferServiceFixture::SetUp();
        std::filesystem::create_directories(folder / "sub");
    }

    std::vector<std::string> storedNames()
    {
        std::vector<std::string> names;
        for (const auto& file : stored())
            names.push_back(file.fileName);
        return names;
    }

    const std::filesystem::path folder = directory / "photos";
};

TEST_F(FolderUploadTest, SendsEveryFileUnderTheFoldersName)
{
    writeFile(folder / "a.txt", "12345");
    writeFile(folder / "sub" / ".hidden", "");
    writeFile(folder / "sub" / "e\u0301 %2F+\\\"x\" .", "123");
    std::filesystem::create_symlink("/etc", folder / "link");
    QSignalSpy ends(&queue, &TransferQueue::uploadEnded);

    const auto transfer = upload(folder, "up/");

    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_THAT(storedNames(),
        UnorderedElementsAre("up/photos/a.txt", "up/photos/sub/.hidden", "up/photos/sub/e\u0301 %2F+\\\"x\" ."));
    EXPECT_EQ(*transfer->fileCount, 3);
    EXPECT_EQ(*transfer->filesCompleted, 3);
    EXPECT_EQ(*transfer->bytesTransferred, 8);
    EXPECT_EQ(*transfer->byteCount, 8);
    EXPECT_EQ(*transfer->activeChild, nullptr);
    ASSERT_THAT(*transfer->fileProblems, SizeIs(1)) << "the link is reported";
    EXPECT_EQ(transfer->fileProblems->front().relativePath, "link");
    EXPECT_THAT(lines(), Contains("Scanned photos: 3 files, 8 bytes"));
    EXPECT_EQ(lines().back(), "Uploaded 3 files from photos");
    EXPECT_EQ(log.entries().back().detail, "up/photos/");
    EXPECT_TRUE(spinUntil([&] { return ends.count() == 1; }));
}

TEST_F(FolderUploadTest, SaysThatAFolderIsEmptyOrGone)
{
    const auto transfer = upload(folder);
    EXPECT_EQ(endOf(transfer), State::failed("Nothing to upload, the folder is empty"));
    EXPECT_EQ(lines().back(), "Nothing uploaded from photos, it holds no files");
    EXPECT_THAT(stored(), IsEmpty());
    ASSERT_THAT(*transfer->fileProblems, SizeIs(1));
    EXPECT_EQ(transfer->fileProblems->front().relativePath, "sub/");

    std::filesystem::remove_all(folder);
    queue.retry(transfer);
    EXPECT_THAT(endOf(transfer).text, HasSubstr("The folder \"photos\" can't be read"));
}

TEST_F(FolderUploadTest, CountsWhatIsLeftOutAndNamesTheFirst)
{
    constexpr int count = 1003;
    for (int i = 0; i < count; ++i)
        std::filesystem::create_directory(folder / "sub" / std::to_string(i));
    writeFile(folder / "a.txt", "a");
    writeFile(folder / "line\nbreak", "c");
    std::filesystem::create_symlink("/etc", folder / "link");

    const auto transfer = upload(folder);

    EXPECT_EQ(endOf(transfer), State::failed("1 of 2 files failed"));
    EXPECT_EQ(*transfer->itemsLeftOut, count + 1);
    EXPECT_EQ(transfer->fileProblems->front().kind, FileProblem::Kind::failed);
    EXPECT_THAT(*transfer->fileProblems, SizeIs(1 + 1 + LeftOut::maxNamed + 1));
    EXPECT_EQ(transfer->fileProblems->back().relativePath, "and 3 more");
    EXPECT_EQ(problemSummary(*transfer->fileProblems), "1 file failed, 1,004 items were left out.");
    EXPECT_THAT(lines(), Contains("Left out of photos: 1,003 empty folders"));
}

TEST_F(FolderUploadTest, GoesOnAfterAFailureAndARetrySendsTheRestAlone)
{
    writeFile(folder / "a.txt", "a");
    writeFile(folder / "bad.txt", "b");
    writeFile(folder / "line\nbreak", "c");
    writeFile(folder / "sub" / "d.txt", "d");
    plant(R"({"kind": "status", "status": 400, "operation": "b2_upload_file", "nameContains": "bad", "count": 1})");

    const auto transfer = upload(folder);
    EXPECT_EQ(endOf(transfer), State::failed("2 of 4 files failed"));
    EXPECT_EQ(lines().back(), "Uploaded 2 of 4 files from photos");
    EXPECT_EQ(log.entries().back().detail, "2 failed - see the entries above for each");
    ASSERT_THAT(*transfer->fileProblems, SizeIs(2));
    EXPECT_THAT(transfer->fileProblems->at(0).reason, HasSubstr("control characters"));
    EXPECT_EQ(transfer->fileProblems->at(1).relativePath, "bad.txt");

    std::filesystem::rename(folder, directory / "away");
    queue.retry(transfer);
    EXPECT_EQ(
        endOf(transfer).text, "The folder \"photos\" can't be read: No such file or directory. 2 files were stored.");
    std::filesystem::rename(directory / "away", folder);

    writeFile(folder / "a.txt", "changed");
    std::filesystem::rename(folder / "line\nbreak", folder / "c.txt");
    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_EQ(*transfer->filesCompleted, 4);
    EXPECT_EQ(*transfer->bytesTransferred, 10);
    EXPECT_THAT(storedNames(),
        UnorderedElementsAre("photos/a.txt", "photos/a.txt", "photos/bad.txt", "photos/c.txt", "photos/sub/d.txt"));
}

TEST_F(FolderUploadTest, StopsInTheMiddleAndGoesOnFromThere)
{
    for (int i = 0; i < 5; ++i)
        writeFile(folder / ("file " + std::to_string(i)), std::string(50'000, 'x'));
    plant(R"({"kind": "trickle", "operation": "b2_upload_file", "in": "request", "bytesPerSecond": 5000,
        "nameContains": "file%203", "count": 1})");
    const auto transfer = upload(folder);
    const auto moves = [](const std::shared_ptr<Transfer>& child) { return child && *child->bytesTransferred > 0; };
    EXPECT_TRUE(spinUntil([&] { return *transfer->filesCompleted == 3 && moves(*transfer->activeChild); }));

    queue.cancel(transfer);
    EXPECT_TRUE(spinUntil([&] { return !lines().empty() && lines().back().starts_with("Stopped"); }));

    EXPECT_EQ(lines().back(), "Stopped after 3 of 5 files");
    EXPECT_EQ(*transfer->state, State::cancelled());
    EXPECT_EQ(*transfer->activeChild, nullptr);
    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_THAT(storedNames(), SizeIs(5)) << "nothing twice";
}

TEST_F(FolderUploadTest, GoesOnWithALargeFileThatWasInterrupted)
{
    const auto file = folder / "large.bin";
    writeFile(file, "");
    std::filesystem::resize_file(file, largeFileThreshold + 1'000'000);
    writeFile(folder / "z.txt", "z");
    plant(R"({"kind": "status", "status": 400, "operation": "b2_finish_large_file", "count": 1})");
    const auto transfer = upload(folder);
    EXPECT_EQ(endOf(transfer), State::failed("1 of 2 files failed"));
    plant(R"({"kind": "status", "status": 400, "operation": "b2_start_large_file"})");
    plant(R"({"kind": "status", "status": 400, "operation": "b2_upload_part"})");

    queue.retry(transfer);

    EXPECT_EQ(endOf(transfer), State::finished()) << "every part was there already";
    EXPECT_THAT(storedNames(), UnorderedElementsAre("photos/large.bin", "photos/z.txt"));
}

TEST_F(FolderUploadTest, SaysWhichLargeFileAStopLeftInParts)
{
    writeFile(folder / "large.bin", "");
    std::filesystem::resize_file(folder / "large.bin", largeFileThreshold + 1'000'000);
    plant(R"({"kind": "trickle", "operation": "b2_upload_part", "in": "request", "bytesPerSecond": 5000})");
    const auto transfer = upload(folder);
    EXPECT_TRUE(spinUntil([&] {
        const auto& child = *transfer->activeChild;
        return child && *child->resumableFileID;
    }));

    queue.cancel(transfer);
    EXPECT_TRUE(spinUntil([&] { return transfer->state->is(State::Case::cancelled) && !lines().empty(); }));
    ASSERT_TRUE(spinUntil([&] { return lines().back().starts_with("Stopped after 0 of 1 file"); }));
    EXPECT_THAT(log.entries().back().detail.value_or(""), HasSubstr("“large.bin” was sent in part"));
}

TEST_F(FolderUploadTest, ShowsTheRunningFileOnTheFoldersRow)
{
    writeFile(folder / "sub" / "slow.bin", std::string(3'000'000, 'x'));
    plant(R"({"kind": "trickle", "operation": "b2_upload_file", "in": "request", "bytesPerSecond": 3000000})");
    const auto transfer = upload(folder);
    EXPECT_TRUE(spinUntil([&] { return *transfer->bytesTransferred > 0; }));

    ASSERT_TRUE(*transfer->activeChild);
    EXPECT_EQ((*transfer->activeChild)->displayName, "slow.bin");
    EXPECT_EQ((*transfer->activeChild)->folderSkipChecksum, transfer->skipChecksum);
    EXPECT_TRUE(*transfer->transferStartedAt);
    EXPECT_EQ(endOf(transfer), State::finished());
}

} // namespace
