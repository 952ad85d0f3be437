#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

#include <chrono>

namespace localb2::test {

using namespace std::chrono_literals;

class FaultTest : public testing::Test, protected ServiceFixture {
protected:
    void script(const std::string& faults)
    {
        client.control("DELETE", "faults");
        ASSERT_EQ(client.control("POST", "faults", faults).status, 200);
    }

    Reply list() { return client.call("b2_list_file_names", {{"bucketId", bucketID}}); }
    Reply download() { return client.download("/file/test-bucket/f"); }

    template <typename Action>
    static std::chrono::milliseconds timeOf(Action action)
    {
        const auto begin = std::chrono::steady_clock::now();
        action();
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    }

    std::string content = std::string(200'000, 'c');
    std::string fileID = client.put(bucketID, "f", content);
};

TEST_F(FaultTest, AnswersWithAnyStatusForTheRequestsThatAreMeant)
{
    script(R"([{"operation":"b2_list_file_names","kind":"status","status":429,"code":"too_many_requests",
        "retryAfter":7,"after":1,"count":2},
        {"operation":"b2_get_file_info","kind":"status","status":502,"body":"<html>Bad gateway</html>"}])");

    EXPECT_EQ(list().status, 200);
    EXPECT_EQ(list().header("retry-after"), "7");
    EXPECT_EQ(list().code(), "too_many_requests");
    EXPECT_EQ(list().status, 200);
    const auto html = client.call("b2_get_file_info", {{"fileId", fileID}});
    EXPECT_EQ(html.status, 502);
    EXPECT_EQ(html.body, "<html>Bad gateway</html>");
    EXPECT_EQ(client.control("GET", "faults").json().at("faults").at(0).at("hits"), 2);
    client.control("DELETE", "faults");
    EXPECT_EQ(client.call("b2_get_file_info", {{"fileId", fileID}}).status, 200);
}

TEST_F(FaultTest, BreaksAnswersAtAnyByte)
{
    script(R"({"operation":"download","kind":"resetAnswer","at":70000})");
    auto reply = download();
    EXPECT_FALSE(reply.isComplete);
    EXPECT_LE(reply.body.size(), 70'000U);

    script(R"({"operation":"download","kind":"truncate","at":1000})");
    reply = download();
    EXPECT_FALSE(reply.isComplete);
    EXPECT_EQ(reply.body, content.substr(0, 1000));

    script(R"({"operation":"download","kind":"corrupt","at":150000})");
    reply = download();
    EXPECT_TRUE(reply.isComplete);
    EXPECT_EQ(reply.body.size(), content.size());
    EXPECT_EQ(reply.body.find('C'), 150'000U);

    script(
        R"({"operation":"b2_list_file_names","kind":"garble","body":"{\"files\":7","contentType":"application/json"})");
    EXPECT_EQ(list().body, "{\"files\":7");

    script(
        R"({"operation":"download","kind":"headers","headers":{"X-Bz-Content-Sha1":null,"X-Bz-File-Name":"%2Fother"}})");
    EXPECT_EQ(download().header("x-bz-content-sha1"), "");
    EXPECT_EQ(download().header("x-bz-file-name"), "%2Fother");
}

TEST_F(FaultTest, LosesTheReplyOfWhatWasDone)
{
    script(R"({"operation":"b2_hide_file","kind":"loseReply","count":1})");
    const auto lost = client.call("b2_hide_file", {{"bucketId", bucketID}, {"fileName", "f"}});
    EXPECT_EQ(lost.status, 0);
    EXPECT_EQ(client.call("b2_hide_file", {{"bucketId", bucketID}, {"fileName", "f"}}).code(), "already_hidden");

    script(R"({"operation":"b2_upload_file","kind":"loseReply","count":1})");
    EXPECT_EQ(client.upload(client.uploadTarget(bucketID), "g", "x").status, 0);
    EXPECT_EQ(client.download("/file/test-bucket/g").body, "x");
}

TEST_F(FaultTest, SlowsDownBothDirections)
{
    script(R"({"operation":"b2_list_file_names","kind":"stall","milliseconds":300})");
    EXPECT_GE(timeOf([&] { EXPECT_EQ(list().status, 200); }), 300ms);

    script(R"({"operation":"download","kind":"trickle","bytesPerSecond":400000})");
    EXPECT_GE(timeOf([&] { EXPECT_EQ(download().body, content); }), 400ms);

    script(R"({"operation":"b2_upload_file","kind":"trickle","in":"request","bytesPerSecond":400000})");
    const auto target = client.uploadTarget(bucketID);
    EXPECT_GE(timeOf([&] { EXPECT_EQ(client.upload(target, "f", content).status, 200); }), 400ms);
}

TEST_F(FaultTest, ExpiresTokensAndReachesCaps)
{
    script(R"([{"operation":"b2_get_upload_url","kind":"expireTokens","count":1},
        {"operation":"download","kind":"capReached","which":"download"}])");

    EXPECT_EQ(download().code(), "download_cap_exceeded");
    EXPECT_EQ(download().status, 403);
    EXPECT_EQ(client.call("b2_get_upload_url", {{"bucketId", bucketID}}).code(), "expired_auth_token");
    const Client again(service.url(), service.masterKey());
    EXPECT_EQ(again.call("b2_get_upload_url", {{"bucketId", bucketID}}).status, 200);
}

TEST_F(FaultTest, StrikesWithAProbability)
{
    script(R"({"operation":"b2_list_file_names","kind":"status","probability":0.3})");
    int refused = 0;
    for (int i = 0; i < 200; ++i)
        refused += list().status == 503 ? 1 : 0;

    EXPECT_GT(refused, 30);
    EXPECT_LT(refused, 90);
}

TEST_F(FaultTest, RefusesAScriptItDoesNotUnderstand)
{
    EXPECT_EQ(client.control("POST", "faults", R"([{"kind":"status"},{"kind":"earthquake"}])").status, 400);
    EXPECT_EQ(client.control("POST", "faults", "no JSON").code(), "bad_json");
    EXPECT_TRUE(client.control("GET", "faults").json().at("faults").as_array().empty());
}

TEST_F(FaultTest, KeepsAHistoryWithoutSecrets)
{
    client.control("DELETE", "requests");
    list();
    download();
    client.download("/file/test-bucket/nothing", {{"Range", "bytes=1-2"}});

    const auto counts = client.control("GET", "counts").json();
    const auto history = client.control("GET", "requests");
    EXPECT_EQ(counts.at("requests"), 3);
    EXPECT_EQ(counts.at("operations").at("b2_download_file_by_name").at("404"), 1);
    EXPECT_EQ(history.json().at("requests").at(1).at("bytesOut"), 200'000);
    EXPECT_EQ(history.json().at("requests").at(2).at("headers").at("Range"), "bytes=1-2");
    EXPECT_EQ(history.body.find(client.token()), std::string::npos);
    EXPECT_EQ(textAt(client.control("GET", "digest?bucket=test-bucket&file=f").json(), "sha1"), sha1Of(content));
    EXPECT_EQ(
        send({.url = service.url() + "/_local/accounts", .headers = {{"Origin", "https://example.com"}}}).status, 403);
    EXPECT_EQ(send({.url = service.url() + "/_local/accounts", .headers = {{"Host", "example.com"}}}).status, 403);
}

} // namespace localb2::test
