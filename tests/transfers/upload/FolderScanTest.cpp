#include "transfers/upload/FolderScan.h"
#include "tests/transfers/TransfersFixture.h"

#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class FolderScanTest : public testing::Test {
protected:
    static std::vector<std::string> pathsOf(const FolderScan& scan)
    {
        std::vector<std::string> paths;
        for (const auto& file : scan.files)
            paths.push_back(file.relativePath);
        return paths;
    }

    QTemporaryDir temporary;
    const std::filesystem::path folder = std::filesystem::path(fromQString(temporary.path())) / "photos";
};

TEST_F(FolderScanTest, FindsRegularFilesAloneAndFollowsNoLink)
{
    std::filesystem::create_directories(folder / "b" / ".hidden");
    std::filesystem::create_directories(folder / "empty");
    writeFile(folder / "z", "12345");
    writeFile(folder / ".profile", "");
    writeFile(folder / "b" / ".hidden" / "x", "123");
    writeFile(folder.parent_path() / "outside", "content");
    std::filesystem::create_symlink(folder.parent_path(), folder / "b" / "out");
    std::filesystem::create_symlink(folder.parent_path() / "outside", folder / "link");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);

    const auto scan = scanFolder(folder, "up/photos/");

    EXPECT_THAT(pathsOf(scan), ElementsAre(".profile", "z", "b/.hidden/x"));
    EXPECT_EQ(scan.byteCount, 8);
    EXPECT_LE(
        std::chrono::abs(scan.files[1].modificationDate - std::chrono::system_clock::now()), std::chrono::seconds(10));
    EXPECT_THAT(scan.refusedFiles, IsEmpty());
    EXPECT_THAT(scan.unreadableFolders, IsEmpty());
    EXPECT_THAT(scan.passedOver.named,
        ElementsAre(FileProblem{"link", "It is a link, not a file, and is not sent.", FileProblem::Kind::leftOut},
            FileProblem{"pipe", "It is a pipe, not a file, and is not sent.", FileProblem::Kind::leftOut},
            testing::Field(&FileProblem::relativePath, "b/out")));
    EXPECT_EQ(scan.passedOver.count, 3);
    EXPECT_THAT(scan.emptyFolders.named, ElementsAre(testing::Field(&FileProblem::relativePath, "empty/")));
}

TEST_F(FolderScanTest, ReportsWhatCannotBeSentAndFindsTheRest)
{
    std::filesystem::create_directories(folder / "locked");
    std::filesystem::create_directories(folder / "m");
    writeFile(folder / "\xff.txt", "x");
    writeFile(folder / "line\nbreak", "x");
    writeFile(folder / "m" / "good", "x");
    std::filesystem::permissions(folder / "locked", std::filesystem::perms::none);
    const auto longPrefix = std::string(1024 - 6, 'p');

    const auto scan = scanFolder(folder, "photos/");
    const auto longNames = scanFolder(folder, longPrefix);
    std::filesystem::permissions(folder / "locked", std::filesystem::perms::all);

    EXPECT_THAT(pathsOf(scan), ElementsAre("m/good"));
    ASSERT_THAT(scan.refusedFiles, SizeIs(2));
    EXPECT_THAT(scan.refusedFiles[0].reason, HasSubstr("control characters"));
    EXPECT_THAT(scan.refusedFiles[1].reason, HasSubstr("not valid UTF-8"));
    EXPECT_THAT(pathsOf(longNames), ElementsAre("m/good")) << "exactly 1,024 bytes";
    EXPECT_THAT(scanFolder(folder, longPrefix + "p").refusedFiles, SizeIs(3));
    if (geteuid() != 0) {
        ASSERT_THAT(scan.unreadableFolders, SizeIs(1));
        EXPECT_EQ(scan.unreadableFolders[0].relativePath, "locked");
        EXPECT_THAT(scan.unreadableFolders[0].reason, HasSubstr("\"locked\" can't be read: you have no permission"));
    }
    ASSERT_THAT(scanFolder(folder / "gone", "gone/").unreadableFolders, SizeIs(1));
}

TEST_F(FolderScanTest, SurvivesATreeDeeperThanAPathMayBe)
{
    std::filesystem::create_directories(folder);
    const auto start = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    const std::string name(100, 'd');
    for (int depth = 0; depth < 60; ++depth) {
        std::filesystem::create_directory(name);
        std::filesystem::current_path(name);
        writeFile("file", "x");
    }
    std::filesystem::current_path(start);

    const auto scan = scanFolder(folder, "photos/");

    EXPECT_THAT(scan.files, SizeIs(10)) << "those whose names fit into 1,024 bytes";
    EXPECT_THAT(scan.unreadableFolders, SizeIs(1));
    EXPECT_THAT(scan.unreadableFolders[0].reason, HasSubstr("longer than the 1024 bytes"));
}

TEST_F(FolderScanTest, CountsAsItGoesAndStopsWhenAsked)
{
    for (int i = 0; i < 20; ++i) {
        const auto subfolder = folder / std::to_string(i);
        std::filesystem::create_directories(subfolder);
        for (int j = 0; j < 1'000; ++j)
            writeFile(subfolder / std::to_string(j), "x");
    }

    std::vector<std::int64_t> reports;
    const auto scan = scanFolder(folder, "photos/", {}, [&](std::int64_t bytes) { reports.push_back(bytes); });
    EXPECT_THAT(scan.files, SizeIs(20'000));
    EXPECT_EQ(scan.byteCount, 20'000);
    EXPECT_TRUE(std::ranges::is_sorted(reports));

    std::stop_source stop;
    stop.request_stop();
    EXPECT_THAT(scanFolder(folder, "photos/", stop.get_token()).files, IsEmpty());
}

} // namespace
