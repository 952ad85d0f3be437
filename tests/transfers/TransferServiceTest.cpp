#include "tests/transfers/TransferServiceFixture.h"

#include <QSignalSpy>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class TransferServiceTest : public TransferServiceFixture {};

TEST_F(TransferServiceTest, BringsOddNamesUpAndDownWithEqualBytes)
{
    const std::vector<std::string> names{"plain.txt", " blanks .txt ", "é ☕ e\u0301.txt", "per%2Fcent+plus",
        "שלום.txt", "back\\slash", "\"quoted\"", "empty"};
    const auto source = directory / "source";
    std::filesystem::create_directory(source);
    QSignalSpy ends(&queue, &TransferQueue::uploadEnded);
    for (const auto& name : names) {
        writeFile(source / name, name == "empty" ? "" : "content of " + name + std::string(100'000, '\n'));
        EXPECT_EQ(endOf(upload(source / name, "odd/")), State::finished()) << name;
    }
    EXPECT_TRUE(spinUntil([&] { return ends.count() == std::ssize(names); }));

    for (const auto& file : stored()) {
        const auto transfer = download(file);
        EXPECT_EQ(endOf(transfer), State::finished()) << file.fileName;
        EXPECT_TRUE((*transfer->checksum)->isVerified());
        const auto local = **transfer->localPath;
        EXPECT_EQ(readFile(local), readFile(source / local.filename()));
        EXPECT_LE(std::chrono::abs(std::filesystem::last_write_time(local)
                      - std::filesystem::last_write_time(source / local.filename())),
            1ms);
    }
    EXPECT_EQ(namesIn(downloads).size(), names.size());
    EXPECT_THAT(lines(), Contains("Uploaded plain.txt"));
    EXPECT_THAT(lines(), Contains("Downloaded plain.txt - checksum verified"));
}

TEST_F(TransferServiceTest, SurvivesConnectionsLostInTheMiddle)
{
    const auto file = directory / "a.bin";
    writeFile(file, std::string(3'000'000, 'x'));
    plant(R"({"kind": "resetRequest", "operation": "b2_upload_file", "at": 1000000, "count": 1})");
    EXPECT_EQ(endOf(upload(file)), State::finished());
    ASSERT_EQ(stored().size(), 1U);

    plant(R"({"kind": "resetAnswer", "operation": "download", "at": 1000000, "count": 1})");
    const auto transfer = download(stored().front());
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_EQ(readFile(**transfer->localPath), readFile(file));
    EXPECT_THAT(namesIn(downloads), ElementsAre("a.bin"));
}

TEST_F(TransferServiceTest, FollowsThePolicyForExistingFiles)
{
    const auto file = store("docs/a.txt", "new");
    writeFile(downloads / "a.txt", "old");

    EXPECT_EQ(endOf(download(file)), State::finished());
    EXPECT_THAT(namesIn(downloads), UnorderedElementsAre("a.txt", "a 2.txt"));
    settings.set("existingFilePolicy", "skip");
    EXPECT_EQ(endOf(download(file)), State::skipped());
    EXPECT_EQ(readFile(downloads / "a.txt"), "old");
    EXPECT_EQ(lines().back(), "Skipped a.txt, already in the destination folder");
    settings.set("existingFilePolicy", "replace");
    EXPECT_EQ(endOf(download(file)), State::finished());
    EXPECT_EQ(readFile(downloads / "a.txt"), "new");
}

TEST_F(TransferServiceTest, GivesTwoDownloadsOfOneNameAPlaceEach)
{
    download(store("one/a.txt", "one"));
    download(store("two/a.txt", "two"));
    EXPECT_TRUE(spinUntil([&] { return queue.activeTransfers().empty(); }));

    EXPECT_THAT((std::vector{readFile(downloads / "a.txt"), readFile(downloads / "a 2.txt")}),
        UnorderedElementsAre("one", "two"));
}

TEST_F(TransferServiceTest, RefusesNamesThatLeadOutOfTheFolder)
{
    auto file = store("a.txt", "content");
    file.fileName = "../..";
    EXPECT_THAT(endOf(download(file)).text, HasSubstr("would write outside the destination folder"));
    EXPECT_EQ(lines().back(), "Refused to download ..");
    file.fileName = "../../" + std::string(300, 'x') + ".txt";
    EXPECT_EQ(endOf(download(file)), State::finished());
    EXPECT_THAT(namesIn(downloads), ElementsAre(std::string(251, 'x') + ".txt"));
}

TEST_F(TransferServiceTest, SaysWhatIsWrongWithAFolderAndGoesOn)
{
    const auto file = store("a.txt", "content");
    std::filesystem::remove(downloads);
    const auto transfer = download(file);
    EXPECT_THAT(endOf(transfer).text, HasSubstr("doesn't exist any more. Nothing was saved. Choose another folder"));
    EXPECT_EQ(lines().back(), "Download of a.txt failed");

    std::filesystem::create_directories(downloads);
    queue.retry(transfer);
    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_EQ(queue.transfers->size(), 1U);
}

TEST_F(TransferServiceTest, SaysThatASourceWentAwayOrChanged)
{
    const auto file = directory / "a.bin";
    writeFile(file, std::string(500'000, 'x'));
    // Both slots are taken, so that the file can go while it waits.
    plant(R"({"kind": "stall", "operation": "b2_upload_file", "milliseconds": 600, "in": "request", "count": 2})");
    const auto first = upload(file, "1/");
    const auto second = upload(file, "2/");
    const auto waiting = upload(file, "3/");
    EXPECT_TRUE(spinUntil([&] { return *first->bytesTransferred == 500'000 && *second->bytesTransferred == 500'000; }));
    std::filesystem::remove(file);

    // The content read before the file was deleted is stored whole.
    EXPECT_EQ(endOf(first), State::finished());
    EXPECT_THAT(endOf(waiting).text, HasSubstr("\"a.bin\" is no longer in"));
    EXPECT_THAT(lines(), Contains("Upload of a.bin failed"));
    endOf(second);

    const auto other = directory / "b.bin";
    writeFile(other, std::string(500'000, 'x'));
    plant(R"({"kind": "stall", "operation": "b2_upload_file", "milliseconds": 600, "in": "request", "count": 1})");
    const auto changing = upload(other, "4/");
    EXPECT_TRUE(spinUntil([&] { return changing->transferStartedAt->has_value(); }));
    spinUntil([] { return false; }, 200ms);
    writeFile(other, std::string(500'000, 'y'));
    EXPECT_THAT(endOf(changing).text, HasSubstr("changed while it was being uploaded"));
    for (const auto& version : stored())
        EXPECT_EQ(version.contentLength, 500'000) << "whole or not at all";
}

TEST_F(TransferServiceTest, RemembersThatALostAnswerMayHaveStoredTheFile)
{
    const auto file = directory / "a.txt";
    writeFile(file, "content");
    plant(R"([{"kind": "loseReply", "operation": "b2_upload_file", "count": 1},
              {"kind": "status", "operation": "b2_upload_file", "after": 1, "status": 400, "code": "bad_request",
               "message": "no"}])");
    const auto transfer = upload(file);
    EXPECT_EQ(endOf(transfer).text, "B2 400 bad_request: no. It may have been stored all the same.");
    EXPECT_EQ(stored().size(), 1U);

    std::filesystem::remove(file);
    queue.retry(transfer);
    EXPECT_THAT(endOf(transfer).text, HasSubstr("It may have been stored all the same."));
}

TEST_F(TransferServiceTest, CancelsWithoutALeftover)
{
    const auto file = store("big.bin", std::string(3'000'000, 'x'));
    plant(R"({"kind": "trickle", "operation": "download", "bytesPerSecond": 300000})");
    const auto transfer = download(file);
    EXPECT_TRUE(spinUntil([&] { return *transfer->bytesTransferred > 0 || !namesIn(downloads).empty(); }));

    queue.cancel(transfer);
    qtRun(queue.stopAll(), 2s);

    EXPECT_EQ(*transfer->state, State::cancelled());
    EXPECT_THAT(namesIn(downloads), IsEmpty());
    EXPECT_EQ(lines().back(), "Cancelled big.bin");
}

TEST_F(TransferServiceTest, NamesASpentCap)
{
    const auto file = directory / "a.txt";
    writeFile(file, "content");
    plant(R"({"kind": "capReached", "operation": "b2_upload_file", "which": "storage"})");
    plant(R"({"kind": "capReached", "operation": "b2_get_upload_url", "which": "storage"})");

    EXPECT_THAT(endOf(upload(file)).text, HasSubstr("storage cap is reached"));
    EXPECT_THAT(stored(), IsEmpty());
}

} // namespace
