#include "tests/B2Kit/transport/TransportFixture.h"

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/files/B2TemporaryName.h"

#include <csignal>
#include <future>
#include <sys/resource.h>
#include <sys/stat.h>

using testing::HasSubstr;

namespace {

class B2CurlDownloadTest : public TransportFixture {
protected:
    static mode_t modeOf(const std::filesystem::path& path)
    {
        struct stat info = {};
        stat(path.c_str(), &info);
        return info.st_mode & 0777;
    }

    B2FileError fileErrorOf(Task<B2DownloadReply> task)
    {
        try {
            run(std::move(task));
        } catch (const B2FileError& error) {
            return error;
        }
        throw std::runtime_error("the download did not fail");
    }
};

/// Lowers the largest size of a file this process may write, for a while.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limited{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_{};
};

TEST_F(B2CurlDownloadTest, WritesBesideTheDestinationAndReplacesItInOneStep)
{
    std::string bytes;
    for (int i = 0; i < 700'001; ++i)
        bytes += static_cast<char>(i % 251);
    ScriptedServer server(ScriptedServer::answering(httpAnswer(200, bytes)));
    const auto destination = write("photo.jpg", "old");

    std::int64_t told = 0;
    auto reply = run(transport.download(
        get(server.url("/")), destination, [&told](std::int64_t done, std::int64_t) { told = done; }));

    const auto temporary = reply.file.path();
    EXPECT_EQ(reply.byteCount, 700'001);
    EXPECT_EQ(reply.sha1, sha1Of(bytes));
    EXPECT_EQ(told, 700'001);
    EXPECT_EQ(temporary.parent_path(), folder);
    EXPECT_TRUE(isTemporaryName(temporary.filename().string()));
    EXPECT_EQ(modeOf(temporary), 0600U);
    EXPECT_EQ(std::filesystem::file_size(temporary), 700'001U);
    EXPECT_EQ(contentOf(destination), "old");

    const auto date = std::chrono::system_clock::time_point(1'234'567'890'123ms);
    reply.file.placeAt(destination, date);

    EXPECT_TRUE(contentOf(destination) == bytes);
    EXPECT_EQ(fileCount(), 1U);
    struct stat info = {};
    stat(destination.c_str(), &info);
    EXPECT_EQ(info.st_mtim.tv_sec, 1'234'567'890);
    EXPECT_EQ(info.st_mtim.tv_nsec, 123'000'000);
}

TEST_F(B2CurlDownloadTest, APlacedFileHasTheModeOfTheOneItReplacesOrOfANewOne)
{
    ScriptedServer server(ScriptedServer::answering(httpAnswer(200, "new")));
    const auto modeAfter = [&](const std::filesystem::path& destination) {
        run(transport.download(get(server.url("/")), destination, {})).file.placeAt(destination, {});
        EXPECT_EQ(contentOf(destination), "new");
        return modeOf(destination);
    };
    const mode_t mask = umask(0);
    umask(mask);

    EXPECT_EQ(modeAfter(folder / "new"), 0666U & ~mask);
    for (const mode_t mode : {0755U, 0600U, 0444U}) {
        const auto replaced = write("replaced", "old");
        chmod(replaced.c_str(), mode);
        EXPECT_EQ(modeAfter(replaced), mode);
        std::filesystem::remove(replaced);
    }
    // A link itself is replaced, so the mode of its target does not matter.
    chmod(write("elsewhere", "old").c_str(), 0600);
    std::filesystem::create_symlink(folder / "elsewhere", folder / "link");
    EXPECT_EQ(modeAfter(folder / "link"), 0666U & ~mask);
    EXPECT_EQ(contentOf(folder / "elsewhere"), "old");
}

TEST_F(B2CurlDownloadTest, AFileThatIsNotPlacedLeavesNothing)
{
    ScriptedServer server(ScriptedServer::answering(httpAnswer(206, "part")));
    {
        auto reply = run(transport.download(get(server.url("/")), folder / "a", {}));
        EXPECT_EQ(contentOf(reply.file.path()), "part");
        std::filesystem::create_directory(folder / "a");
        EXPECT_THROW(reply.file.placeAt(folder / "a", {}), B2FileError);
        EXPECT_EQ(fileCount(), 2U);
    }
    EXPECT_EQ(fileCount(), 1U);
}

TEST_F(B2CurlDownloadTest, RemovesFilesOfKilledDownloadsButNotOfRunningOnes)
{
    const auto abandoned = write(makeTemporaryName(), "half");
    const auto foreign = write(".kestrovan-notes.part", "mine");
    std::filesystem::create_symlink(foreign, folder / makeTemporaryName());
    std::promise<void> isLookedAt;
    ScriptedServer server([&](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nab");
        isLookedAt.get_future().wait();
        connection.send("cd");
    });
    StartedTask download(transport.download(get(server.url("/")), folder / "a", {}));
    while (fileCount() < 4)
        std::this_thread::sleep_for(1ms);

    EXPECT_EQ(removeAbandonedFiles(folder), 1);
    isLookedAt.set_value();

    EXPECT_FALSE(std::filesystem::exists(abandoned));
    EXPECT_TRUE(std::filesystem::exists(foreign));
    auto reply = download.result();
    EXPECT_EQ(removeAbandonedFiles(folder), 0) << "it is complete, but has no name yet";
    reply.file.placeAt(folder / "a", {});
    EXPECT_EQ(contentOf(folder / "a"), "abcd");
    EXPECT_EQ(removeAbandonedFiles(folder / "gone"), 0);
}

TEST_F(B2CurlDownloadTest, NeverReplacesAFileThatAppearedInTheMeantimeIfAskedNotTo)
{
    ScriptedServer server([](Connection& connection) {
        for (int i = 0; i < 2; ++i) {
            connection.readRequest();
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nnew");
        }
    });
    auto reply = run(transport.download(get(server.url("/")), folder / "a", {}));
    write("a", "mine");
    write("a 2", "mine too");
    int number = 1;
    const auto next = [&] { return std::optional(folder / ("a " + std::to_string(++number))); };

    reply.file.placeAt(folder / "a", {}, next);

    EXPECT_EQ(contentOf(folder / "a"), "mine");
    EXPECT_EQ(contentOf(folder / "a 2"), "mine too");
    EXPECT_EQ(contentOf(folder / "a 3"), "new");
    auto last = run(transport.download(get(server.url("/")), folder / "a", {}));
    last.file.placeAt(folder / "a", {}, [] { return std::nullopt; });
    EXPECT_EQ(contentOf(folder / "a"), "new") << "no path is left";
    EXPECT_EQ(fileCount(), 3U);
}

TEST_F(B2CurlDownloadTest, StaysInTheOpenedFolderEvenIfALinkTakesItsPlace)
{
    ScriptedServer server(ScriptedServer::answering(httpAnswer(200, "new")));
    std::filesystem::create_directory(folder / "inside");
    std::filesystem::create_directory(folder / "elsewhere");
    const auto opened = B2Folder::open(folder).value()->subfolder("inside", B2Folder::Missing::refuse).value();
    std::filesystem::rename(folder / "inside", folder / "moved");
    std::filesystem::create_directory_symlink(folder / "elsewhere", folder / "inside");

    const B2Place place(folder / "inside" / "a", opened);
    run(transport.download(get(server.url("/")), place, {})).file.placeAt(place, {});

    EXPECT_EQ(contentOf(folder / "moved" / "a"), "new");
    EXPECT_TRUE(std::filesystem::is_empty(folder / "elsewhere"));
    const auto top = B2Folder::open(folder).value();
    EXPECT_EQ(top->subfolder("inside/deep", B2Folder::Missing::make).error(), ENOTDIR);
    EXPECT_EQ(top->subfolder("moved/../elsewhere", B2Folder::Missing::make).error(), EINVAL);
    EXPECT_TRUE(top->subfolder("moved/x/y", B2Folder::Missing::make));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "moved" / "x" / "y"));
}

TEST_F(B2CurlDownloadTest, KeepsAnEmptyFileAndTheBodyOfARefusal)
{
    ScriptedServer empty(ScriptedServer::answering(httpAnswer(200, "")));
    ScriptedServer refusing(ScriptedServer::answering(httpAnswer(404, R"({"code":"not_found"})")));
    ScriptedServer endless([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 500 Oops\r\n\r\n");
        for (int i = 0; i < 100; ++i)
            connection.send(std::string(100'000, 'x'));
    });

    const auto file = run(transport.download(get(empty.url("/")), folder / "a", {}));
    const auto refusal = run(transport.download(get(refusing.url("/")), folder / "b", {}));
    const auto page = run(transport.download(get(endless.url("/")), folder / "c", {}));

    EXPECT_EQ(std::filesystem::file_size(file.file.path()), 0U);
    EXPECT_EQ(file.sha1, "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_TRUE(refusal.file.path().empty());
    EXPECT_EQ(refusal.response.status, 404);
    EXPECT_EQ(refusal.errorBody, R"({"code":"not_found"})");
    EXPECT_EQ(page.errorBody.size(), 1'000'000U);
    EXPECT_EQ(fileCount(), 1U);
}

TEST_F(B2CurlDownloadTest, KeepsNothingOfATruncatedBody)
{
    for (const std::size_t sent : {std::size_t{0}, std::size_t{1}, std::size_t{150'000}, std::size_t{299'999}}) {
        for (const bool resets : {false, true}) {
            ScriptedServer server([&](Connection& connection) {
                connection.readRequest();
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: 300000\r\n\r\n" + std::string(sent, 'x'));
                if (resets)
                    connection.reset();
            });
            const auto failure = failureOf(transport.download(get(server.url("/")), folder / "a", {}));
            EXPECT_EQ(failure.code(), Code::connectionLost);
            EXPECT_EQ(fileCount(), 0U);
        }
    }
}

TEST_F(B2CurlDownloadTest, SaysWhichFolderCannotTakeTheFileBeforeAskingTheService)
{
    ScriptedServer server(ScriptedServer::answering(httpAnswer(200, "x")));
    const auto failAt = [&](const std::filesystem::path& destination) {
        return std::string(fileErrorOf(transport.download(get(server.url("/")), destination, {})).what());
    };
    std::filesystem::create_directory(folder / "folder");
    write("file", "");

    EXPECT_THAT(failAt(folder / "gone" / "a.txt"), HasSubstr("Couldn't write \"a.txt\": the folder \""));
    EXPECT_THAT(failAt(folder / "gone" / "a.txt"), HasSubstr("does not exist"));
    EXPECT_THAT(failAt(folder / "file" / "a.txt"), HasSubstr("does not exist"));
    EXPECT_THAT(failAt(folder / "folder"), HasSubstr("a folder of that name exists"));
    EXPECT_THAT(failAt(folder / std::string(256, 'n')), HasSubstr("the name is too long"));
    if (geteuid() != 0) { // Root may write anywhere.
        std::filesystem::permissions(folder / "folder", std::filesystem::perms::owner_read);
        EXPECT_THAT(failAt(folder / "folder" / "a.txt"), HasSubstr("you may not write in the folder"));
        std::filesystem::permissions(folder / "folder", std::filesystem::perms::owner_all);
    }
    EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(B2CurlDownloadTest, AFullDiskEndsTheDownloadAndKeepsTheOldFile)
{
    const auto destination = write("big", "old");
    // Once the size is known beforehand and once it is not.
    ScriptedServer announced(ScriptedServer::answering(httpAnswer(200, std::string(3'000'000, 'x'))));
    ScriptedServer unannounced([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n\r\n" + std::string(3'000'000, 'x'));
    });
    ScriptedServer boundless([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 8000000000000000000\r\n\r\nx");
        connection.waitForClose();
    });

    {
        const FileSizeLimit limit(1'000'000);
        for (const auto* server : {&announced, &unannounced}) {
            const auto failure = fileErrorOf(transport.download(get(server->url("/")), destination, {}));
            EXPECT_EQ(failure.systemError(), EFBIG);
            EXPECT_THAT(failure.what(), HasSubstr("\"big\""));
            EXPECT_THAT(failure.what(), HasSubstr("what was there before is untouched"));
        }
    }
    EXPECT_THROW(run(transport.download(get(boundless.url("/")), destination, {})), B2FileError);
    EXPECT_EQ(contentOf(destination), "old");
    EXPECT_EQ(fileCount(), 1U);
}

} // namespace
