#include "tests/B2Kit/ClientFixture.h"

#include "B2Kit/files/B2SHA1.h"
#include "tests/B2Kit/TestFiles.h"

#include <atomic>
#include <cstdlib>
#include <fstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr auto getURL = "b2_get_upload_url";
constexpr auto upload = "b2_upload_file";
const std::string stored = R"({"fileId": "4_z1", "fileName": "a.txt", "action": "upload"})";

class UploadTest : public ClientFixture {
protected:
    UploadTest()
    {
        transport->always(getURL, [this](const B2HTTPRequest&) {
            const auto number = std::to_string(++targets);
            return StubTransport::Reply{200,
                R"({"bucketId": "b", "uploadUrl": ")" + podURL + R"(/b2api/v4/b2_upload_file/)" + number
                    + R"(", "authorizationToken": "pod-)" + number + "\"}"};
        });
    }
    ~UploadTest() override { std::filesystem::remove_all(folder); }

    static B2UploadFileRequest textUpload(std::string text = "hello")
    {
        return {.bucketID = "b", .fileName = "a.txt", .body = std::make_shared<const std::string>(std::move(text))};
    }

    std::filesystem::path write(const std::string& name, const std::string& text) const
    {
        std::ofstream(folder / name, std::ios::binary) << text;
        return folder / name;
    }

    std::string podURL = "https://pod.example.com";
    std::atomic<int> targets = 0;
    const std::filesystem::path folder = makeTemporaryFolder();
};

TEST_F(UploadTest, SendsTheDescriptionOfTheFile)
{
    using namespace std::chrono;
    transport->answer(upload, stored);
    auto request = textUpload();
    request.fileName = "photos/ä b+%.txt";
    request.contentType = "text/plain";
    request.fileInfo = {{"note", "a/b c"}, {"src_last_modified_millis", "1"}};
    request.modificationDate = system_clock::time_point(milliseconds(1772700000123)) + microseconds(600);

    EXPECT_EQ(run(client->uploadFile(std::move(request))).fileID, "4_z1");

    EXPECT_THAT(bodiesOf(getURL), ElementsAre(R"({"bucketId":"b"})"));
    const auto sent = transport->requests(upload).at(0);
    EXPECT_EQ(sent.url, "https://pod.example.com/b2api/v4/b2_upload_file/1");
    EXPECT_EQ(sent.method, B2HTTPMethod::post);
    EXPECT_EQ(sent.body, "hello");
    EXPECT_EQ(tokenOf(sent), "pod-1");
    EXPECT_EQ(headerOf(sent, "X-Bz-File-Name"), "photos/%C3%A4%20b%2B%25.txt");
    EXPECT_EQ(headerOf(sent, "Content-Type"), "text/plain");
    EXPECT_EQ(headerOf(sent, "X-Bz-Content-Sha1"), "aaf4c61ddcc5e8a2dabede0f3b482cd9aea9434d");
    EXPECT_EQ(headerOf(sent, "X-Bz-Info-note"), "a%2Fb%20c");
    EXPECT_EQ(headerOf(sent, "X-Bz-Info-src_last_modified_millis"), "1772700000124");
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(UploadTest, OneTargetServesOneUploadAfterAnother)
{
    transport->always(upload, [](const B2HTTPRequest&) { return StubTransport::Reply{200, stored}; });

    for (int i = 0; i < 5; ++i)
        run(client->uploadFile(textUpload("")));

    EXPECT_EQ(transport->count(getURL), 1U);
    EXPECT_EQ(
        headerOf(transport->requests(upload).at(4), "X-Bz-Content-Sha1"), "da39a3ee5e6b4b0d3255bfef95601890afd80709");

    run(client->reauthorize());
    run(client->uploadFile(textUpload()));
    EXPECT_EQ(transport->count(getURL), 2U);
}

TEST_F(UploadTest, EveryRetryLeasesANewTarget)
{
    transport->refuse(upload, 503, "service_unavailable", "no tomes available");
    transport->refuse(upload, 401, "expired_auth_token");
    transport->answer(upload, stored);

    std::vector<std::string> retries;
    auto request = textUpload();
    request.onRetry = [&](const B2PartRetryEvent& event) { retries.push_back(retryText(event)); };
    run(client->uploadFile(std::move(request)));

    EXPECT_THAT(retries,
        ElementsAre("backing off 0: 1/20 1.5 B2 storage busy", "backing off 0: 2/20 2.0 B2 401 expired_auth_token",
            "recovered 0"));
    const auto sent = transport->requests(upload);
    ASSERT_THAT(sent, SizeIs(3));
    EXPECT_EQ(tokenOf(sent[1]), "pod-2");
    EXPECT_EQ(tokenOf(sent[2]), "pod-3");
    EXPECT_EQ(transport->count("b2_authorize_account"), 1U);
    EXPECT_THAT(sleeper->waits(), ElementsAre(1.5, 2.0));
    EXPECT_THAT(log->lines(),
        ElementsAre("Warning transfer: Upload of a.txt refused, retry 1/19 in 1.5s | B2 storage busy",
            "Warning transfer: Upload of a.txt refused, retry 2/19 in 2.0s | B2 401 expired_auth_token"));
}

TEST_F(UploadTest, GivesUpAfterTwentySends)
{
    transport->always(upload, [](const B2HTTPRequest&) {
        return StubTransport::Reply{500, R"({"status": 500, "code": "internal_error", "message": "why"})"};
    });

    EXPECT_EQ(failureOf(client->uploadFile(textUpload())), "B2 500 internal_error: why");

    EXPECT_EQ(transport->count(upload), 20U);
    EXPECT_EQ(transport->count(getURL), 20U);
    EXPECT_EQ(sleeper->waits().back(), 64.5);
    EXPECT_EQ(
        log->lines().back(), "Error transfer: Upload of a.txt failed after 20 attempts | B2 500 internal_error: why");
}

TEST_F(UploadTest, ARefusalThatNoOtherTargetCanHelpEndsTheUpload)
{
    transport->refuse(upload, 403, "cap_exceeded", "Storage cap");
    EXPECT_EQ(failureOf(client->uploadFile(textUpload())), "B2 403 cap_exceeded: Storage cap");
    transport->answer(upload, "{");
    EXPECT_THAT(failureOf(client->uploadFile(textUpload())), HasSubstr("Invalid response: b2_upload_file: "));

    EXPECT_EQ(transport->count(upload), 2U);
    EXPECT_EQ(transport->count(getURL), 2U) << "a target that failed never comes back";
}

TEST_F(UploadTest, ReportsWhenALostAnswerMayLeaveASecondVersion)
{
    const std::string notice =
        "Notice transfer: All of a.txt was sent but the answer was lost, so the retry may leave a second version";
    std::atomic<int> lost = 0;
    auto request = textUpload();
    request.onAnswerLost = [&lost] { ++lost; };
    transport->loseConnection(upload).answer(upload, stored);
    run(client->uploadFile(request));
    EXPECT_EQ(log->lines().back(), notice);
    EXPECT_EQ(lost, 1);

    transport->answer(upload, {504, "<html>Gateway Timeout</html>"}).answer(upload, stored);
    run(client->uploadFile(request));
    EXPECT_EQ(log->lines().back(), notice);
    EXPECT_EQ(lost, 2);

    transport->refuse(upload, 503, "service_unavailable").answer(upload, stored);
    run(client->uploadFile(request));
    EXPECT_NE(log->lines().back(), notice) << "the service's own refusal is an answer";
    EXPECT_EQ(lost, 2);

    transport->answer(upload, "{");
    EXPECT_THAT(failureOf(client->uploadFile(request)), HasSubstr("Invalid response"));
    EXPECT_EQ(lost, 3) << "an answer that cannot be read comes after the work";
}

TEST_F(UploadTest, AStoppedUploadIsNotAFailure)
{
    transport->gather(upload, 2);
    auto request = textUpload();
    request.fileName = "a\nError api: forged";
    StartedTask<B2FileVersion> task(client->uploadFile(std::move(request)));
    while (transport->count(upload) == 0)
        std::this_thread::yield();

    task.cancel();

    EXPECT_THROW(task.result(), Cancelled);
    EXPECT_THAT(log->lines(), ElementsAre("Info transfer: Upload of a Error api: forged stopped"));
}

TEST_F(UploadTest, AnUnsafeTargetIsNotUsed)
{
    podURL = "http://pod.example.com";

    EXPECT_THAT(failureOf(client->uploadFile(textUpload())), HasSubstr("Could not form a valid URL: http://pod"));
    EXPECT_EQ(transport->count(upload), 0U);
}

TEST_F(UploadTest, ATooLargeFileIsRefusedBeforeAnythingIsSent)
{
    auto request = textUpload();
    request.body = B2FileRange{folder / "absent", 0, 5'000'000'001};
    EXPECT_THAT(
        failureOf(client->uploadFile(request)), HasSubstr("5000000001 bytes exceeds the 5000000000 byte limit"));
    request.body = B2FileRange{folder / "absent", 0, 5'000'000'000};
    EXPECT_EQ(failureOf(client->uploadFile(request)), "Couldn't read \"absent\": it no longer exists.");

    EXPECT_EQ(transport->count("b2_authorize_account"), 0U);
}

TEST_F(UploadTest, FilesOfAnySizeAreSentWithTheirDigest)
{
    for (const std::int64_t size : {0, 5, 1'000'000, 1'000'001, 9'000'000}) {
        const std::string text(static_cast<std::size_t>(size), 'x');
        transport->answer(upload, stored).answer(upload, stored);
        auto request = textUpload(text);
        run(client->uploadFile(request));
        request.body = B2FileRange{write("file", text), 0, size};
        run(client->uploadFile(request));

        const auto sent = transport->requests(upload);
        EXPECT_EQ(headerOf(sent.back(), "X-Bz-Content-Sha1"), sha1Of(text)) << size;
        EXPECT_EQ(headerOf(sent[sent.size() - 2], "X-Bz-Content-Sha1"), sha1Of(text)) << size;
    }
}

TEST_F(UploadTest, AFileThatChangedBeforeItWasReadIsNotUploaded)
{
    for (const std::int64_t size : {4, 6, 2'000'000}) {
        auto request = textUpload();
        request.body = B2FileRange{write("notes.txt", "hello"), 0, size};
        EXPECT_EQ(failureOf(client->uploadFile(std::move(request))),
            "“notes.txt” changed while it was being read, so it was not uploaded.");
    }
    EXPECT_EQ(transport->count(getURL), 0U);
}

TEST_F(UploadTest, AFileThatChangedWhileItWasSentIsReported)
{
    const std::string text(2'000'000, 'x');
    const auto path = write("movie", text);
    const auto changeAndAnswer = [path](const StubTransport::Reply& reply) {
        return [path, reply](const B2HTTPRequest&) {
            std::ofstream(path, std::ios::app) << "more";
            return reply;
        };
    };
    auto request = textUpload();
    request.body = B2FileRange{path, 0, 2'000'000};
    transport->handle(upload,
        changeAndAnswer(
            {400, R"({"status": 400, "code": "bad_request", "message": "Sha1 did not match data received"})"}));

    EXPECT_EQ(
        failureOf(client->uploadFile(request)), "“movie” changed while it was being read, so it was not uploaded.");
    EXPECT_EQ(transport->count(upload), 1U);

    // One that has not changed keeps the service's own words, and one that was received whole is stored.
    request.body = B2FileRange{write("movie", text), 0, 2'000'000};
    transport->refuse(upload, 400, "bad_request", "Sha1 did not match data received");
    EXPECT_THAT(failureOf(client->uploadFile(request)), HasSubstr("B2 400 bad_request: Sha1"));
    transport->handle(upload, changeAndAnswer({200, stored}));
    EXPECT_EQ(failureOf(client->uploadFile(request)), "nothing");
}

} // namespace
