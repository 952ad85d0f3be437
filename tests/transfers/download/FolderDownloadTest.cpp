#include "B2Kit/files/B2TemporaryName.h"
#include "tests/transfers/TransferServiceFixture.h"
#include "transfers/download/FolderLanding.h"
#include "transfers/download/LocalNames.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace {

TEST(GuardedNameTest, TakesPathsThatStayInTheFolderAndNoOthers)
{
    for (const auto* const name : {"a", "a/b.txt", "..a/...", " /\\", "a/.b", "C:\\x", "~", "-rf"})
        EXPECT_EQ(guardedName(name), name);
    for (const auto* const name :
        {"", "/", "/etc/passwd", "a/", "a//b", ".", "..", "../a", "a/..", "a/../b", "a/../../b", "./a", "a/./b"})
        EXPECT_EQ(guardedName(name), std::nullopt) << name;
    EXPECT_EQ(guardedName(std::string_view("a\0b", 3)), std::nullopt);
}

class FolderDownloadTest : public TransferServiceFixture {
protected:
    std::shared_ptr<Transfer> downloadFolder(std::string prefix = "photos/")
    {
        return download({.fileName = std::move(prefix), .action = B2FileAction("folder")});
    }

    /// Lists the relative paths of everything but folders.
    static std::vector<std::string> filesIn(const std::filesystem::path& folder)
    {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (!entry.is_directory() || entry.is_symlink())
                files.push_back(entry.path().lexically_relative(folder).string());
        }
        return files;
    }

    const std::filesystem::path local = downloads / "photos";
};

TEST_F(FolderDownloadTest, BringsOddNamesUpAndDownEqual)
{
    const std::string component(250, 'n');
    const std::vector<std::string> names{"plain.txt", " blanks and dot . ", "per%2Fcent+plus", "NFC \u00e9",
        "NFD e\u0301", "שלום ☕ 👩‍👩‍👧", "back\\slash", "\"quoted\" 'too'", "sub/.hidden", "Case",
        "case", "-rf *", component + "/" + component + "/" + component + "/" + component};
    const auto source = directory / "photos";
    for (const auto& name : names) {
        std::filesystem::create_directories((source / name).parent_path());
        writeFile(source / name, "content of " + name);
    }
    EXPECT_EQ(endOf(upload(source)), State::finished());

    const auto transfer = downloadFolder();

    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_THAT(filesIn(local), testing::UnorderedElementsAreArray(names));
    for (const auto& name : names)
        EXPECT_EQ(readFile(local / name), "content of " + name);
    EXPECT_EQ(lines().back(), "Downloaded 13 files from photos");
    EXPECT_EQ(log.entries().back().detail, local.string());
    EXPECT_EQ(*transfer->filesCompleted, 13);
    EXPECT_EQ(*transfer->bytesTransferred, *transfer->byteCount);
    EXPECT_EQ(*transfer->localPath, local);
}

TEST_F(FolderDownloadTest, RefusesNamesThatLeadOutAndGoesOn)
{
    store("photos/a/../../b", "evil");
    store("photos//etc/x", "evil");
    store("photos/good", "good");
    store("photosandmore", "other");

    const auto transfer = downloadFolder();

    EXPECT_EQ(endOf(transfer), State::failed("2 of 3 files failed"));
    EXPECT_THAT(filesIn(directory / "downloads"), ElementsAre("photos/good"));
    EXPECT_THAT(lines(), Contains("Refused to download photos/a/../../b"));
    EXPECT_THAT(lines(), Contains("Downloaded 1 of 3 files from photos"));
    ASSERT_THAT(*transfer->fileProblems, SizeIs(2));
    EXPECT_EQ(transfer->fileProblems->at(1).relativePath, "a/../../b");

    EXPECT_EQ(endOf(downloadFolder("nothing/")), State::failed("Nothing to download, the folder is empty"));
    store("up/../x", "evil");
    EXPECT_THAT(endOf(downloadFolder("up/../")).text, HasSubstr("outside the destination folder"));
    EXPECT_THAT(namesIn(directory), testing::Not(Contains("x")));
}

TEST_F(FolderDownloadTest, FollowsNoPlantedLinkAndSaysWhatIsInTheWay)
{
    const auto elsewhere = directory / "elsewhere";
    std::filesystem::create_directories(elsewhere);
    std::filesystem::create_directories(local);
    std::filesystem::create_directory_symlink(elsewhere, local / "link");
    std::filesystem::create_symlink(elsewhere / "target", local / "file");
    writeFile(local / "plain", "mine");
    settings.set("existingFilePolicy", "replace");
    for (const auto* const name : {"photos/file", "photos/link/x", "photos/plain/x", "photos/z"})
        store(name, "new");
    store("photos/" + std::string(300, 'd') + "/x", "new");

    const auto transfer = downloadFolder();

    EXPECT_EQ(endOf(transfer), State::failed("3 of 5 files failed"));
    EXPECT_THAT(namesIn(elsewhere), IsEmpty());
    EXPECT_EQ(readFile(local / "file"), "new") << "the link gave way, not what it leads to";
    EXPECT_EQ(readFile(local / "plain"), "mine");
    EXPECT_EQ(readFile(local / "z"), "new");
    ASSERT_THAT(*transfer->fileProblems, SizeIs(3));
    EXPECT_THAT(transfer->fileProblems->at(0).reason, HasSubstr("longer than this disk takes"));
    EXPECT_THAT(transfer->fileProblems->at(1).reason, HasSubstr("a file or a link has its name"));
}

TEST_F(FolderDownloadTest, NumbersTheFolderWhereAFileOrALinkHasItsName)
{
    store("photos/a", "content");
    std::filesystem::create_directory_symlink(directory, local);

    const auto transfer = downloadFolder();

    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_EQ(readFile(downloads / "photos 2" / "a"), "content");
    EXPECT_FALSE(std::filesystem::exists(directory / "a"));
}

TEST_F(FolderDownloadTest, ARetryLeavesOutWhatIsDoneAndFetchesWhatIsGone)
{
    for (const auto* const name : {"photos/a", "photos/b", "photos/c"})
        store(name, name);
    plant(R"({"kind": "status", "status": 400, "operation": "download", "after": 1, "count": 1})");
    const auto transfer = downloadFolder();
    EXPECT_EQ(endOf(transfer), State::failed("1 of 3 files failed"));

    std::filesystem::rename(downloads, directory / "away");
    queue.retry(transfer);
    EXPECT_THAT(endOf(transfer).text, HasSubstr("doesn't exist any more. 2 files were saved. Choose another folder"));
    std::filesystem::rename(directory / "away", downloads);
    std::filesystem::remove(local / "c");

    queue.retry(transfer);

    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_THAT(filesIn(local), UnorderedElementsAre("a", "b", "c")) << "nothing twice";
    EXPECT_EQ(*transfer->filesCompleted, 3);
}

TEST_F(FolderDownloadTest, FollowsThePolicyForEachFile)
{
    store("photos/a", "new");
    store("photos/b", "new");
    std::filesystem::create_directories(local);
    writeFile(local / "a", "old");
    settings.set("existingFilePolicy", "skip");

    const auto transfer = downloadFolder();

    EXPECT_EQ(endOf(transfer), State::finished());
    EXPECT_EQ(readFile(local / "a"), "old");
    EXPECT_EQ(*transfer->filesCompleted, 2);
    EXPECT_EQ(*transfer->filesSkipped, 1);
    EXPECT_EQ(transfer->fileProblems->at(0).relativePath, "a");
    EXPECT_THAT(lines(), Contains("Skipped 1 file from photos"));
    EXPECT_EQ(lines().back(), "Downloaded 2 files from photos");
}

TEST_F(FolderDownloadTest, StopsInTheMiddleWithoutALeftover)
{
    store("photos/a", "a");
    store("photos/sub/big", std::string(3'000'000, 'x'));
    plant(R"({"kind": "trickle", "operation": "download", "bytesPerSecond": 1500000, "after": 1})");
    const auto transfer = downloadFolder();
    EXPECT_TRUE(spinUntil([&] { return *transfer->bytesTransferred > 1'000'000; }));
    EXPECT_THAT(filesIn(local), SizeIs(2));

    queue.cancel(transfer);
    qtRun(queue.stopAll(), std::chrono::seconds(2));

    EXPECT_EQ(*transfer->state, State::cancelled());
    EXPECT_EQ(lines().back(), "Stopped after 1 of 2 files");
    EXPECT_THAT(filesIn(local), ElementsAre("a"));
}

class FolderLandingTest : public TransfersFixture {
protected:
    std::shared_ptr<FolderLanding> open(const std::string& name = "photos")
    {
        return FolderLanding::open({.destination = {downloads}, .name = name, .landed = landed, .markDirectory = marks})
            .value();
    }

    const std::filesystem::path marks = directory / "marks";
    std::shared_ptr<LandedFiles> landed = std::make_shared<LandedFiles>();
    std::shared_ptr<ReservedPaths> reserved = std::make_shared<ReservedPaths>();
};

TEST_F(FolderLandingTest, NeverReplacesAFileOfTheSameRunUnderATwinName)
{
    const auto landing = open();
    const auto first = landing->prepare("sub/File.txt", ExistingFilePolicy::replace, *reserved);
    writeFile(first->choice.target, "first");
    landing->noteLanded({first->choice.target});
    // As on a file system that folds names: the other name leads to the same file.
    std::filesystem::create_hard_link(first->choice.target, downloads / "photos" / "sub" / "file.txt");
    writeFile(downloads / "photos" / "sub" / "other.txt", "of an earlier day");

    for (const auto policy : existingFilePolicies) {
        const auto twin = landing->prepare("sub/file.txt", policy, *reserved);
        EXPECT_EQ(twin->choice.target.filename(), "file 2.txt");
        EXPECT_FALSE(twin->choice.skippedFor);
        EXPECT_TRUE(twin->isTwin);
        EXPECT_FALSE(twin->replaces);
    }
    EXPECT_TRUE(landing->prepare("sub/other.txt", ExistingFilePolicy::replace, *reserved)->replaces);
    EXPECT_TRUE(landing->prepare("sub/other.txt", ExistingFilePolicy::skip, *reserved)->choice.skippedFor);
    const auto ours = landing->prepare(makeTemporaryName(), ExistingFilePolicy::replace, *reserved);
    EXPECT_FALSE(isTemporaryName(ours->choice.target.filename().string())) << "a later clean-up would delete it";
}

TEST_F(FolderLandingTest, TheNextStartClearsWhatAKilledDownloadLeftInASubfolder)
{
    const auto placeIn = [&](const std::filesystem::path& folder) {
        writeFile(folder / makeTemporaryName(), "half");
        return folder;
    };
    {
        const auto landing = open();
        ASSERT_TRUE(landing->prepare("sub/deep/file", ExistingFilePolicy::skip, *reserved));
        placeIn(downloads / "photos" / "sub" / "deep");
        writeFile(downloads / "photos" / "sub" / "deep" / ".kestrovan-mine", "mine");
        EXPECT_THAT(namesIn(marks), SizeIs(1));
        EXPECT_EQ(removeFilesOfKilledDownloads(marks), 0) << "it runs";
        // A kill leaves the note and drops its lock.
        std::filesystem::copy_file(marks / namesIn(marks).front(), marks / "left");
        std::filesystem::copy_file(marks / "left", directory / "left");
    }
    EXPECT_THAT(namesIn(marks), ElementsAre("left"));

    EXPECT_EQ(removeFilesOfKilledDownloads(marks), 1);

    EXPECT_THAT(namesIn(marks), IsEmpty());
    EXPECT_THAT(namesIn(downloads / "photos" / "sub" / "deep"), ElementsAre(".kestrovan-mine"));
    // A link in the place of the folder is not followed.
    const auto elsewhere = directory / "elsewhere";
    std::filesystem::rename(downloads / "photos" / "sub", elsewhere);
    std::filesystem::create_directory_symlink(elsewhere, downloads / "photos" / "sub");
    placeIn(elsewhere / "deep");
    std::filesystem::rename(directory / "left", marks / "left");
    EXPECT_EQ(removeFilesOfKilledDownloads(marks), 0);
    EXPECT_THAT(namesIn(elsewhere / "deep"), SizeIs(2));
}

} // namespace
