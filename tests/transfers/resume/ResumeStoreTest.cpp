#include "tests/support/QtRun.h"
#include "tests/transfers/TransfersFixture.h"
#include "transfers/resume/ResumeDatabase.h"

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;

std::vector<std::string> filesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

class ResumeStoreTest : public testing::Test {
protected:
    ResumableUpload upload(std::string fileID) const
    {
        ResumableUpload made;
        made.fileID = std::move(fileID);
        made.bucketID = "bucket-1";
        made.remoteName = "films/caf\xC3\xA9 'n' \"co\".mov";
        made.byteCount = 50'000'000'000;
        made.source = {"/media/disk/\xFF\xFE odd\n.mov", 50'000'000'000,
            std::chrono::system_clock::time_point(1'722'500'000'123'456'789ns)};
        made.sha1 = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
        return made;
    }
    std::unique_ptr<ResumeStore> open() { return qtRun(ResumeStore::open(file)); }

    /// Can a store be opened here that keeps a record across a restart?
    bool keepsRecords()
    {
        if (auto store = open()) {
            store->record(upload("after"));
            qtRun(store->flush());
        }
        const auto store = open();
        return store && store->upload("after");
    }

    QTemporaryDir temporary;
    const std::filesystem::path directory = std::filesystem::path(fromQString(temporary.path())) / "data";
    const std::filesystem::path file = directory / "uploads.sqlite";
};

TEST_F(ResumeStoreTest, KeepsEveryFieldToTheLastByteForItsOwnerAlone)
{
    const auto before = std::chrono::system_clock::now();
    auto store = open();
    store->record(upload("large-1"));
    const auto recorded = store->upload("large-1");
    qtRun(store->flush());
    store = open();

    auto expected = upload("large-1");
    ASSERT_TRUE(recorded);
    EXPECT_GE(recorded->startedAt, before);
    expected.startedAt = recorded->startedAt;
    EXPECT_EQ(recorded, expected);
    EXPECT_EQ(store->upload("large-1"), expected);
    EXPECT_FALSE(store->upload("large-2"));
    struct stat status{};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ASSERT_EQ(::stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(ResumeStoreTest, KeepsTheFirstOfTwoRecordsAndIgnoresOneWithoutASource)
{
    auto store = open();
    store->record(upload("large-1"));
    const auto first = store->upload("large-1");
    auto again = upload("large-1");
    again.remoteName = "another";
    store->record(again);
    auto withoutSource = upload("large-2");
    withoutSource.source.path.clear();
    store->record(withoutSource);
    store->record(upload("large-3"));
    store->remove("large-3");
    store->remove("never recorded");
    EXPECT_EQ(store->upload("large-1"), first);

    qtRun(store->flush());
    store = open();

    EXPECT_EQ(store->upload("large-1"), first);
    EXPECT_FALSE(store->upload("large-2"));
    EXPECT_FALSE(store->upload("large-3"));
}

TEST_F(ResumeStoreTest, LosesNothingThatWasWrittenWhenTheProcessIsKilled)
{
    // The child writes on its own thread: other threads do not survive a fork.
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ResumeDatabase database(file);
        for (int i = 0;; ++i) {
            database.add(upload("large-" + std::to_string(i)));
            if (::write(ready[1], &i, sizeof i) != sizeof i)
                ::_exit(1);
        }
    }
    ::close(ready[1]);
    int written = -1;
    while (written < 20) {
        if (::read(ready[0], &written, sizeof written) != sizeof written)
            break;
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (int last = 0; ::read(ready[0], &last, sizeof last) == sizeof last;)
        written = last;
    ::close(ready[0]);
    ASSERT_GE(written, 20);

    const auto store = open();

    ASSERT_TRUE(store);
    for (int i = 0; i <= written; ++i)
        EXPECT_TRUE(store->upload("large-" + std::to_string(i))) << i << " of " << written;
    // An empty journal may be left; the next change removes it.
    store->remove("large-0");
    qtRun(store->flush());
    EXPECT_THAT(filesIn(directory), ElementsAre("uploads.sqlite"));
}

TEST_F(ResumeStoreTest, TwoProgramsWriteOneFile)
{
    constexpr int count = 25;
    const auto write = [this](int from) {
        ResumeDatabase database(file);
        for (int i = from; i < from + count; ++i)
            database.add(upload("large-" + std::to_string(i)));
        database.remove("large-" + std::to_string(from));
    };
    std::thread other(write, count);
    write(0);
    other.join();

    EXPECT_THAT(ResumeDatabase(file).uploads(), SizeIs(2 * count - 2));
}

TEST_F(ResumeStoreTest, SetsADamagedFileAsideAndStartsOver)
{
    std::filesystem::create_directory(directory);
    const std::string noise(9000, 'x');
    writeFile(file, noise);
    EXPECT_TRUE(keepsRecords());
    EXPECT_EQ(readFile(directory / "uploads.sqlite.damaged-1"), noise);

    // Half of it, as after a copy that was cut short.
    {
        ResumeDatabase database(file);
        for (int i = 0; i < 60; ++i)
            database.add(upload("large-" + std::to_string(i)));
    }
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
    EXPECT_TRUE(keepsRecords());

    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    writeFile(file / "inside", "of the user");
    EXPECT_TRUE(keepsRecords());
    EXPECT_EQ(readFile(directory / "uploads.sqlite.damaged-3" / "inside"), "of the user");
    EXPECT_THAT(filesIn(directory),
        ElementsAre(
            "uploads.sqlite", "uploads.sqlite.damaged-1", "uploads.sqlite.damaged-2", "uploads.sqlite.damaged-3"));
}

TEST_F(ResumeStoreTest, UsesAnEmptyFileAndMakesAReadOnlyOneWritable)
{
    std::filesystem::create_directory(directory);
    writeFile(file, "");
    EXPECT_TRUE(keepsRecords());

    {
        const auto store = open();
        store->remove("after");
        qtRun(store->flush());
    }
    ::chmod(file.c_str(), 0444);
    EXPECT_TRUE(keepsRecords());
    EXPECT_THAT(filesIn(directory), ElementsAre("uploads.sqlite"));
}

TEST_F(ResumeStoreTest, LeavesTheFileOfANewerVersionAloneAndGivesNothing)
{
    open();
    auto bytes = readFile(file);
    // The user version, at offset 60 of the header, big-endian.
    bytes[63] = 9;
    writeFile(file, bytes);

    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(readFile(file), bytes);
    EXPECT_EQ(qtRun(ResumeStore::open("/proc/none/uploads.sqlite")), nullptr);
    EXPECT_THAT(filesIn(directory), ElementsAre("uploads.sqlite"));
}

} // namespace
