#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

namespace localb2::test {

class DownloadTest : public testing::Test, protected ServiceFixture {
protected:
    Reply range(const std::string& range) { return client.download("/file/test-bucket/ten", {{"Range", range}}); }

    std::string tenID = client.put(bucketID, "ten", "0123456789");
};

TEST_F(DownloadTest, AnswersOneRangeAndIgnoresAnythingElse)
{
    EXPECT_EQ(range("bytes=2-4").body, "234");
    EXPECT_EQ(range("bytes=2-4").header("content-range"), "bytes 2-4/10");
    EXPECT_EQ(range("bytes=2-4").status, 206);
    EXPECT_EQ(range("bytes=2-4").header("x-bz-content-sha1"), sha1Of("0123456789"));
    EXPECT_EQ(range("bytes=8-").body, "89");
    EXPECT_EQ(range("bytes=-3").body, "789");
    EXPECT_EQ(range("bytes=8-99").body, "89");
    EXPECT_EQ(range("bytes=10-").code(), "range_not_satisfiable");
    EXPECT_EQ(range("bytes=10-").status, 416);
    EXPECT_EQ(range("bytes=5-2").status, 200);
    EXPECT_EQ(range("lines=1-2").body, "0123456789");
    client.put(bucketID, "empty", "");
    EXPECT_EQ(client.download("/file/test-bucket/empty", {{"Range", "bytes=0-"}}).status, 416);
}

TEST_F(DownloadTest, FindsByNameTheNewestAndByIdExactlyOne)
{
    const auto newer = client.put(bucketID, "ten", "newer");
    EXPECT_EQ(client.download("/file/test-bucket/ten").body, "newer");
    const auto marker = client.ask("b2_hide_file", {{"bucketId", bucketID}, {"fileName", "ten"}});

    EXPECT_EQ(client.download("/file/test-bucket/ten").code(), "not_found");
    EXPECT_EQ(client.download("/b2api/v4/b2_download_file_by_id?fileId=" + tenID).body, "0123456789");
    EXPECT_EQ(client.download("/b2api/v4/b2_download_file_by_id?fileId=" + textAt(marker, "fileId")).status, 404);
    EXPECT_EQ(client.call("b2_hide_file", {{"bucketId", bucketID}, {"fileName", "ten"}}).code(), "already_hidden");
    client.ask("b2_delete_file_version", {{"fileName", "ten"}, {"fileId", marker.at("fileId")}});
    client.ask("b2_delete_file_version", {{"fileName", "ten"}, {"fileId", newer}});
    EXPECT_EQ(client.download("/file/test-bucket/ten").body, "0123456789");
    EXPECT_EQ(
        client.call("b2_delete_file_version", {{"fileName", "eleven"}, {"fileId", tenID}}).code(), "file_not_present");
    EXPECT_EQ(client.download("/b2api/v4/b2_download_file_by_id?fileId=nonsense").code(), "bad_request");
}

TEST_F(DownloadTest, OpensPublicBucketsToEveryoneAndPrivateOnesToTokens)
{
    const auto open = client.createBucket("open-bucket", {{"bucketType", "allPublic"}});
    client.put(open, "f", "public");

    EXPECT_EQ(send({.url = service.url() + "/file/open-bucket/f"}).body, "public");
    EXPECT_EQ(send({.url = service.url() + "/file/test-bucket/ten"}).status, 401);
    EXPECT_EQ(
        send({.url = service.url() + "/file/test-bucket/ten?Authorization=" + percentEncoded(client.token())}).body,
        "0123456789");
    const auto head = send({.method = "HEAD", .url = service.url() + "/file/open-bucket/f"});
    EXPECT_EQ(head.header("content-length"), "6");
    EXPECT_TRUE(head.isComplete);
}

TEST_F(DownloadTest, HonoursDownloadTokensForTheirPrefixHeadersAndTime)
{
    const auto answer = client.ask("b2_get_download_authorization",
        {{"bucketId", bucketID}, {"fileNamePrefix", "te"}, {"validDurationInSeconds", 60},
            {"b2ContentType", "text/x-ten"}});
    const auto url = [&](const std::string& name, const std::string& more) {
        return service.url() + "/file/test-bucket/" + name
            + "?Authorization=" + percentEncoded(textAt(answer, "authorizationToken")) + more;
    };
    client.put(bucketID, "other", "x");

    EXPECT_EQ(send({.url = url("ten", "&b2ContentType=text/x-ten")}).header("content-type"), "text/x-ten");
    EXPECT_EQ(send({.url = url("ten", "&b2ContentType=text/html")}).status, 401);
    EXPECT_EQ(send({.url = url("ten", "")}).status, 401);
    EXPECT_EQ(send({.url = url("other", "&b2ContentType=text/x-ten")}).status, 401);
    client.control("POST", "clock", R"({"offsetMilliseconds":61000})");
    EXPECT_EQ(send({.url = url("ten", "&b2ContentType=text/x-ten")}).code(), "expired_auth_token");
}

} // namespace localb2::test
