#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

#include <thread>

namespace localb2::test {

class UploadTest : public testing::Test, protected ServiceFixture {};

TEST_F(UploadTest, GivesBackEveryByteOfSmallAndLargeBodies)
{
    for (const std::size_t size : {0UL, 1UL, 65'536UL, 65'537UL, 3'000'000UL}) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i * 31 + (i >> 9));
        const auto fileID = client.put(bucketID, "file", bytes);

        const auto reply = client.download("/file/test-bucket/file");

        EXPECT_EQ(reply.body, bytes) << size;
        EXPECT_EQ(reply.header("x-bz-content-sha1"), sha1Of(bytes));
        EXPECT_EQ(reply.header("x-bz-file-id"), fileID);
    }
}

TEST_F(UploadTest, KeepsNamesAndInfoOfAnyCharacters)
{
    const std::string name = "über 100%+/😀 \"quoted\" & 'more' #1?.txt";
    const auto target = client.uploadTarget(bucketID);
    client.upload(target, name, "x",
        {{"X-Bz-Info-Author", percentEncoded("Zoë + Ünal")}, {"X-Bz-Info-b2-content-disposition", "attachment"}});

    const auto reply = client.download("/file/test-bucket/" + percentEncoded(name));

    EXPECT_EQ(client.names("b2_list_file_names", {{"bucketId", bucketID}}), std::vector{name});
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("x-bz-info-author"), "Zo%C3%AB%20%2B%20%C3%9Cnal");
    EXPECT_EQ(reply.header("content-disposition"), "attachment");
    EXPECT_EQ(reply.header("content-type"), "text/plain");
}

TEST_F(UploadTest, ChecksTheHashInEachWayItCanBeGiven)
{
    const auto target = client.uploadTarget(bucketID);
    const std::string bytes = "the content";
    const auto shown = [&](const std::string& sent, const std::string& body) {
        const auto reply = client.upload(target, "f", body, {{"X-Bz-Content-Sha1", sent}});
        return reply.status == 200 ? textAt(reply.json(), "contentSha1") : reply.code();
    };
    const auto other = sha1Of("other");

    EXPECT_EQ(shown(sha1Of(bytes), bytes), sha1Of(bytes));
    EXPECT_EQ(shown("hex_digits_at_end", bytes + sha1Of(bytes)), sha1Of(bytes));
    EXPECT_EQ(shown("do_not_verify", bytes), "unverified:" + sha1Of(bytes));
    EXPECT_EQ(shown("unverified:" + other, bytes), "unverified:" + other);
    EXPECT_EQ(client.download("/file/test-bucket/f").body, bytes);

    EXPECT_EQ(shown(other, bytes), "bad_request");
    EXPECT_EQ(shown("hex_digits_at_end", bytes + other), "bad_request");
    EXPECT_EQ(shown("hex_digits_at_end", "short"), "bad_request");
    EXPECT_EQ(client.names("b2_list_file_versions", {{"bucketId", bucketID}}).size(), 4U);
}

TEST_F(UploadTest, RefusesWhatNoFileMayHave)
{
    const auto target = client.uploadTarget(bucketID);
    const auto code = [&](const std::string& name, Headers headers) {
        return client.upload(target, name, "x", std::move(headers)).code();
    };

    EXPECT_EQ(code(std::string(1025, 'n'), {}), "bad_request");
    EXPECT_EQ(code("line\nbreak", {}), "bad_request");
    EXPECT_EQ(code("\xff\xfe", {}), "bad_request");
    EXPECT_EQ(code("f", {{"X-Bz-Info-b2-made-up", "1"}}), "bad_request");
    EXPECT_EQ(code("f", {{"X-Bz-Info-a", std::string(2048, 'v')}}), "bad_request");
    EXPECT_EQ(code("f", {{"X-Bz-File-Legal-Hold", "on"}}), "bucket_missing_file_lock");
    EXPECT_EQ(send({.url = target.url, .headers = {{"Authorization", target.token}}}).code(), "method_not_allowed");
    EXPECT_EQ(client.upload({target.url, client.token()}, "f", "x").code(), "bad_auth_token");
}

TEST_F(UploadTest, LetsAnUploadURLServeOneUploadAtATime)
{
    const auto target = client.uploadTarget(bucketID);
    client.control("POST", "faults", R"({"operation":"b2_upload_file","kind":"stall","in":"request","at":1,
        "milliseconds":1500,"count":1})");
    std::thread slow([&] { EXPECT_EQ(client.upload(target, "slow", "slow").status, 200); });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));

    const auto second = client.upload(target, "second", "x");
    slow.join();

    EXPECT_EQ(second.code(), "auth_token_limit");
    EXPECT_EQ(client.upload(target, "third", "x").status, 200);
}

TEST_F(UploadTest, SpendsTheUploadURLWithABrokenConnection)
{
    const auto target = client.uploadTarget(bucketID);
    client.control("POST", "faults", R"({"operation":"b2_upload_file","kind":"resetRequest","at":100000,"count":1})");

    const auto broken = client.upload(target, "f", std::string(500'000, 'x'));
    const auto again = client.upload(target, "f", "x");

    EXPECT_FALSE(broken.isComplete);
    EXPECT_EQ(again.code(), "expired_auth_token");
    EXPECT_TRUE(std::filesystem::is_empty(directory.path() / "data" / "bodies"));
    EXPECT_TRUE(client.names("b2_list_file_versions", {{"bucketId", bucketID}}).empty());
}

} // namespace localb2::test
