#include "tests/B2Kit/ClientFixture.h"

#include "B2Kit/files/B2SHA1.h"
#include "tests/B2Kit/TestFiles.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Reason = B2ChecksumSkipReason;
using Headers = std::vector<B2HTTPHeader>;

constexpr auto byName = "b2_download_file_by_name";
constexpr auto byID = "b2_download_file_by_id";
const std::string helloSHA1 = "aaf4c61ddcc5e8a2dabede0f3b482cd9aea9434d";

class DownloadTest : public ClientFixture {
protected:
    ~DownloadTest() override { std::filesystem::remove_all(folder); }

    static StubTransport::Reply hello(Headers headers = {}, int status = 200)
    {
        return {status, "hello", std::move(headers), helloSHA1};
    }

    /// Both ways to get a file, which have the same rules.
    B2FileMetadata download(const StubTransport::Reply& reply, bool verifies = true)
    {
        transport->answer(byID, reply).answer(byID, reply);
        const auto file = run(client->downloadByID({.fileID = "4_z1", .verifies = verifies}));
        const auto toFile =
            run(client->downloadByIDToFile({.fileID = "4_z1", .verifies = verifies}, {.path = folder / "file"}));
        EXPECT_EQ(file.metadata, toFile);
        EXPECT_EQ(file.data, "hello");
        EXPECT_EQ(textOf("file"), "hello");
        return toFile;
    }

    std::string textOf(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(folder / name, std::ios::binary).rdbuf();
        return text.str();
    }

    std::vector<std::string> namesInFolder() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        return names;
    }

    const std::filesystem::path folder = makeTemporaryFolder();
};

TEST_F(DownloadTest, AsksByIDAndByName)
{
    transport->answer(byID, hello()).answer(byName, hello({}, 206));

    run(client->downloadByID({.fileID = "4_z&1"}));
    run(client->downloadByName(
        {.bucketName = "photos", .fileName = "a b/../ü+.txt", .range = B2ByteRange{.first = 5, .last = 9}}));

    const auto first = transport->requests(byID).at(0);
    EXPECT_EQ(first.url, "https://files.example.com/b2api/v4/b2_download_file_by_id?fileId=4_z%261");
    EXPECT_EQ(first.method, B2HTTPMethod::get);
    EXPECT_EQ(tokenOf(first), "token-1");
    EXPECT_EQ(headerOf(first, "Range"), std::nullopt);
    const auto second = transport->requests(byName).at(0);
    EXPECT_EQ(second.url, "https://files.example.com/file/photos/a%20b/../%C3%BC%2B.txt");
    EXPECT_EQ(headerOf(second, "Range"), "bytes=5-9");
}

TEST_F(DownloadTest, ReadsTheHeaders)
{
    const auto metadata = download(
        hello({{"X-Bz-File-Id", "4_z1"}, {"x-bz-file-name", "a%20b/%C3%BC+%2B.txt"}, {"Content-Type", "text/plain"},
            {"Content-Length", "5"}, {"X-Bz-Upload-Timestamp", "1772705700000"}, {"X-Bz-Info-note", "50%"},
            {"x-bz-info-src_last_modified_millis", "1772700000123"}, {"X-Bz-Content-Sha1", helloSHA1}}));

    EXPECT_EQ(metadata.fileID, "4_z1");
    EXPECT_EQ(metadata.fileName, "a b/ü +.txt");
    EXPECT_EQ(metadata.contentType, "text/plain");
    EXPECT_EQ(metadata.contentLength, 5);
    EXPECT_EQ(metadata.storedContentLength, 5);
    EXPECT_EQ(metadata.uploadTimestamp, 1772705700000);
    EXPECT_EQ(metadata.fileInfo.at("note"), "50%") << "a damaged escape stays as it is";
    EXPECT_EQ(metadata.lastModified(), std::chrono::system_clock::time_point(std::chrono::milliseconds(1772700000123)));
    EXPECT_FALSE(metadata.isPartial);

    const auto bare = download(hello({{"Content-Length", "-7"}, {"X-Bz-Upload-Timestamp", "soon"}}));
    EXPECT_EQ(bare.fileName, "");
    EXPECT_EQ(bare.contentLength, 5);
    EXPECT_EQ(bare.storedContentLength, std::nullopt);
    EXPECT_EQ(bare.uploadTimestamp, 0);
}

TEST_F(DownloadTest, VerifiesAKnownChecksum)
{
    const std::string other(40, '0');
    struct Case {
        std::string name;
        Headers headers;
        int status;
        bool verifies;
        std::optional<Reason> skipReason; ///< Unset when the bytes are verified.
    };
    const Case cases[] = {
        {"whole", {{"X-Bz-Content-Sha1", helloSHA1}}, 200, true, {}},
        {"unverified", {{"X-Bz-Content-Sha1", "unverified:" + helloSHA1}}, 200, true, {}},
        {"large", {{"X-Bz-Content-Sha1", "none"}, {"X-Bz-Info-large_file_sha1", helloSHA1}}, 200, true, {}},
        {"identity", {{"X-Bz-Content-Sha1", helloSHA1}, {"Content-Encoding", " Identity "}}, 200, true, {}},
        {"turned off", {{"X-Bz-Content-Sha1", other}}, 200, false, Reason::disabledByCaller},
        {"partial", {{"X-Bz-Content-Sha1", other}}, 206, true, Reason::partialResponse},
        {"gzip", {{"X-Bz-Content-Sha1", other}, {"Content-Encoding", "gzip"}}, 200, true, Reason::contentEncoded},
        {"none", {{"X-Bz-Content-Sha1", "none"}}, 200, true, Reason::noChecksumPublished},
        {"empty", {{"X-Bz-Content-Sha1", "unverified:"}}, 200, true, Reason::noChecksumPublished},
        {"large none", {{"X-Bz-Info-large_file_sha1", "none"}}, 200, true, Reason::noChecksumPublished},
        {"off before partial", {}, 206, false, Reason::disabledByCaller},
        {"partial before gzip", {{"Content-Encoding", "gzip"}}, 206, true, Reason::partialResponse},
    };
    for (const auto& [name, headers, status, verifies, skipReason] : cases) {
        SCOPED_TRACE(name);
        const auto metadata = download(hello(headers, status), verifies);
        EXPECT_EQ(metadata.checksum.skipReason(), skipReason);
        if (!skipReason)
            EXPECT_EQ(std::get<B2ChecksumOutcome::Verified>(metadata.checksum.value).sha1, helloSHA1);
        EXPECT_EQ(metadata.isPartial, status == 206);
    }
    const auto encoded = download(hello({{"Content-Encoding", "gzip"}, {"Content-Length", "99"}}));
    EXPECT_EQ(encoded.contentLength, 5);
    EXPECT_EQ(encoded.storedContentLength, 99);
}

TEST_F(DownloadTest, AMismatchKeepsTheOldFile)
{
    const std::string other(40, '0');
    const auto expected =
        "Downloaded bytes do not match the SHA1 B2 reported: expected " + other + ", got " + helloSHA1 + ".";
    const auto wrong = hello({{"X-Bz-Content-Sha1", other}});
    transport->answer(byID, wrong).answer(byID, wrong).answer(byID, wrong);

    EXPECT_EQ(failureOf(client->downloadByID({.fileID = "1"})), expected);
    EXPECT_EQ(failureOf(client->downloadByIDToFile({.fileID = "1"}, {.path = folder / "file"})), expected);
    EXPECT_THAT(namesInFolder(), ElementsAre());

    std::ofstream(folder / "file") << "older";
    EXPECT_EQ(failureOf(client->downloadByIDToFile({.fileID = "1"}, {.path = folder / "file"})), expected);
    EXPECT_THAT(namesInFolder(), ElementsAre("file"));
    EXPECT_EQ(textOf("file"), "older");
    EXPECT_EQ(transport->count(byID), 3U);
}

TEST_F(DownloadTest, ALargeDownloadInMemoryIsVerifiedToo)
{
    const std::string text(5'000'000, 'x');
    transport->answer(byID, {200, text, {{"X-Bz-Content-Sha1", sha1Of(text)}}});

    EXPECT_TRUE(run(client->downloadByID({.fileID = "1"})).metadata.checksum.isVerified());
}

TEST_F(DownloadTest, AFileGetsTheGivenDateOrItsOwn)
{
    using std::chrono::milliseconds;
    using std::chrono::system_clock;
    const system_clock::time_point given(milliseconds(1000000000500));
    const auto reply = hello({{"X-Bz-Info-src_last_modified_millis", "1772700000123"}});
    transport->answer(byName, reply).answer(byName, reply);
    std::int64_t told = 0;

    run(client->downloadByNameToFile(
        {.bucketName = "b", .fileName = "a", .onProgress = [&](auto done, auto) { told = done; }},
        {.path = folder / "own"}));
    run(client->downloadByNameToFile(
        {.bucketName = "b", .fileName = "a"}, {.path = folder / "given", .modificationDate = given}));

    const auto dateOf = [this](const char* name) {
        const auto date = std::filesystem::last_write_time(folder / name);
        return std::chrono::floor<milliseconds>(std::chrono::file_clock::to_sys(date));
    };
    EXPECT_EQ(dateOf("own"), system_clock::time_point(milliseconds(1772700000123)));
    EXPECT_EQ(dateOf("given"), given);
    EXPECT_EQ(told, 5);
}

TEST_F(DownloadTest, StartsAgainAfterALostConnectionAndReadsRefusals)
{
    transport->loseConnection(byID).refuse(byID, 503, "service_unavailable").answer(byID, hello());
    std::vector<std::string> told;
    B2DownloadByIDRequest request{.fileID = "1"};
    request.onProgress = [&](std::int64_t, std::int64_t) { told.emplace_back("bytes"); };
    request.onRetry = [&](const B2PartRetryEvent& event) { told.push_back(retryText(event)); };
    run(client->downloadByIDToFile(request, {.path = folder / "file"}));
    EXPECT_EQ(textOf("file"), "hello");
    EXPECT_THAT(told,
        ElementsAre("backing off 0: 1/5 1.5 The connection was lost.",
            "backing off 0: 2/5 2.0 B2 503 service_unavailable", "recovered 0", "bytes"));

    told.clear();
    transport->refuse(byID, 503, "service_unavailable", "", {{"Retry-After", "7"}}).answer(byID, hello());
    run(client->downloadByID(request));
    EXPECT_THAT(told, ElementsAre("backing off 0: 1/5 7.0 B2 503 service_unavailable", "recovered 0"));

    transport->refuse(byID, 416, "range_not_satisfiable").answer(byID, {204, ""});
    EXPECT_EQ(failureOf(client->downloadByIDToFile({.fileID = "1"}, {.path = folder / "other"})),
        "B2 416 range_not_satisfiable: why");
    EXPECT_EQ(failureOf(client->downloadByIDToFile({.fileID = "1"}, {.path = folder / "other"})), "B2 204 unknown: ");
    EXPECT_THAT(namesInFolder(), ElementsAre("file"));
}

TEST_F(DownloadTest, AFileThatCannotBePlacedLeavesNothing)
{
    std::filesystem::create_directory(folder / "file");
    transport->answer(byID, hello());

    EXPECT_THROW(run(client->downloadByIDToFile({.fileID = "1"}, {.path = folder / "file"})), B2FileError);
    EXPECT_THAT(namesInFolder(), ElementsAre("file"));
}

TEST_F(DownloadTest, AnAddressToShareContainsTheToken)
{
    EXPECT_EQ(run(client->downloadURL("photos", "a b/ü.txt", std::nullopt)),
        "https://files.example.com/file/photos/a%20b/%C3%BC.txt");
    EXPECT_EQ(run(client->downloadURL("photos", "a", "3_x=&")),
        "https://files.example.com/file/photos/a?Authorization=3_x%3D%26");

    EXPECT_EQ(failureOf(client->downloadURL("a?b", "c", std::nullopt)),
        "Could not form a valid URL: https://files.example.com/file/a?b/c");
    EXPECT_THAT(failureOf(client->downloadByName({.bucketName = "a/../b", .fileName = "c"})), HasSubstr("valid URL"));
    EXPECT_EQ(transport->count(byName), 0U);
}

} // namespace
