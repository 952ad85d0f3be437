#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

namespace localb2::test {

class KeyTest : public testing::Test, protected ServiceFixture {
protected:
    boost::json::array listed(int version)
    {
        return client.ask("b2_list_keys", {{"accountId", client.accountID()}}, version).at("keys").as_array();
    }

    std::string otherBucketID = client.createBucket("other-bucket");
};

TEST_F(KeyTest, HoldsAKeyToItsCapabilities)
{
    const auto fileID = client.put(bucketID, "f");
    const auto reader = client.withNewKey({{"capabilities", {"listFiles", "readFiles"}}});

    EXPECT_EQ(reader.call("b2_list_file_names", {{"bucketId", bucketID}}).status, 200);
    EXPECT_EQ(reader.download("/file/test-bucket/f").body, "x");
    for (const auto& [operation, fields] : std::vector<std::pair<std::string, boost::json::object>>{
             {"b2_get_upload_url", {{"bucketId", bucketID}}},
             {"b2_hide_file", {{"bucketId", bucketID}, {"fileName", "f"}}},
             {"b2_delete_file_version", {{"fileName", "f"}, {"fileId", fileID}}},
             {"b2_list_buckets", {{"accountId", client.accountID()}}},
             {"b2_list_keys", {{"accountId", client.accountID()}}},
             {"b2_create_bucket",
                 {{"accountId", client.accountID()}, {"bucketName", "newbucket"}, {"bucketType", "allPrivate"}}},
         }) {
        const auto reply = reader.call(operation, fields);
        EXPECT_EQ(reply.status, 401) << operation;
        EXPECT_EQ(reply.code(), "unauthorized") << operation;
        EXPECT_EQ(textAt(reply.json(), "message"), "") << operation;
    }
}

TEST_F(KeyTest, HoldsAKeyToItsBucketsAndPrefix)
{
    client.put(bucketID, "in/a");
    client.put(bucketID, "out/a");
    client.put(otherBucketID, "in/a");
    const auto key = client.withNewKey({{"capabilities", {"listBuckets", "listFiles", "readFiles", "writeFiles"}},
                                           {"bucketId", bucketID}, {"namePrefix", "in/"}},
        3);
    const auto accountID = client.accountID();

    EXPECT_EQ(key.download("/file/test-bucket/in/a").status, 200);
    EXPECT_EQ(key.download("/file/test-bucket/out/a").code(), "unauthorized");
    EXPECT_EQ(key.download("/file/other-bucket/in/a").code(), "unauthorized");
    EXPECT_EQ(key.call("b2_list_file_names", {{"bucketId", bucketID}, {"prefix", "in/"}}).status, 200);
    EXPECT_EQ(key.call("b2_list_file_names", {{"bucketId", bucketID}}).code(), "unauthorized");
    EXPECT_EQ(key.call("b2_list_file_names", {{"bucketId", otherBucketID}, {"prefix", "in/"}}).code(), "unauthorized");
    EXPECT_EQ(key.call("b2_list_buckets", {{"accountId", accountID}}).code(), "unauthorized");
    EXPECT_EQ(key.call("b2_list_buckets", {{"accountId", accountID}, {"bucketId", bucketID}}).status, 200);
    EXPECT_EQ(
        key.call("b2_list_buckets", {{"accountId", accountID}, {"bucketName", "other-bucket"}}).code(), "unauthorized");
    const auto target = key.uploadTarget(bucketID);
    EXPECT_EQ(key.upload(target, "out/b", "x").code(), "unauthorized");
}

TEST_F(KeyTest, ReportsWhatAKeyAllowsInTheFormOfEachVersion)
{
    const auto key = client.ask("b2_create_key",
        {{"accountId", client.accountID()}, {"keyName", "k"}, {"capabilities", {"listFiles"}},
            {"bucketIds", {bucketID, otherBucketID}}});
    const Client both(service.url(), {textAt(key, "applicationKeyId"), textAt(key, "applicationKey")});
    client.ask("b2_delete_bucket", {{"accountId", client.accountID()}, {"bucketId", otherBucketID}});
    const Client afterwards(service.url(), {textAt(key, "applicationKeyId"), textAt(key, "applicationKey")});

    const auto storage = [](const Client& of) {
        return of.authorization().json().at("apiInfo").at("storageApi").as_object();
    };
    EXPECT_TRUE(storage(client).at("allowed").at("buckets").is_null());
    EXPECT_EQ(storage(both).at("allowed").at("buckets").at(1).at("name"), "other-bucket");
    EXPECT_TRUE(storage(afterwards).at("allowed").at("buckets").at(1).at("name").is_null());
    EXPECT_EQ(afterwards.call("b2_list_file_names", {{"bucketId", otherBucketID}}).code(), "bad_bucket_id");
    EXPECT_EQ(storage(client).at("absoluteMinimumPartSize"), 5'000'000);
}

TEST_F(KeyTest, SplitsKeyCallsByVersionUnlessJoined)
{
    const auto accountID = client.accountID();
    const auto several = client.ask("b2_create_key",
        {{"accountId", accountID}, {"keyName", "two"}, {"capabilities", {"listFiles"}},
            {"bucketIds", {bucketID, otherBucketID}}});
    client.ask("b2_create_key",
        {{"accountId", accountID}, {"keyName", "one"}, {"capabilities", {"listFiles"}}, {"bucketId", bucketID}}, 3);

    EXPECT_EQ(listed(4).size(), 1U);
    EXPECT_EQ(listed(3).size(), 1U);
    EXPECT_EQ(textAt(listed(3).at(0).as_object(), "bucketId"), bucketID);
    EXPECT_EQ(
        client.call("b2_delete_key", {{"applicationKeyId", several.at("applicationKeyId")}}, 3).code(), "bad_request");
    client.control("POST", "options", R"({"keysJoined":true})");
    EXPECT_EQ(listed(4).size(), 2U);
    EXPECT_EQ(client.call("b2_delete_key", {{"applicationKeyId", several.at("applicationKeyId")}}).status, 200);
    EXPECT_EQ(client.call("b2_delete_key", {{"applicationKeyId", accountID}}).code(), "bad_request");
}

TEST_F(KeyTest, RefusesKeysThatCannotBe)
{
    const auto code = [&](boost::json::object fields) {
        fields["accountId"] = client.accountID();
        fields.emplace("keyName", "k");
        fields.emplace("capabilities", boost::json::array{"listFiles"});
        return client.call("b2_create_key", fields).code();
    };

    EXPECT_EQ(code({{"keyName", "with space"}}), "bad_request");
    EXPECT_EQ(code({{"capabilities", boost::json::array{}}}), "bad_request");
    EXPECT_EQ(code({{"capabilities", {"flyToMoon"}}}), "bad_request");
    EXPECT_EQ(code({{"bucketIds", {bucketID}}, {"capabilities", {"writeKeys"}}}), "bad_request");
    EXPECT_EQ(code({{"bucketIds", {"ffffffffffffffffffffffff"}}}), "bad_bucket_id");
    EXPECT_EQ(code({{"bucketId", bucketID}}), "bad_request");
    EXPECT_EQ(code({{"validDurationInSeconds", 86'400'000}}), "bad_request");
}

TEST_F(KeyTest, EndsTokensWithTheirKeyAndWithTime)
{
    const auto key = client.ask("b2_create_key",
        {{"accountId", client.accountID()}, {"keyName", "k"}, {"capabilities", {"listFiles"}},
            {"validDurationInSeconds", 60}});
    const MasterKey credentials{textAt(key, "applicationKeyId"), textAt(key, "applicationKey")};
    const Client brief(service.url(), credentials);
    const auto code = [&](const Client& of) { return of.call("b2_list_file_names", {{"bucketId", bucketID}}).code(); };

    client.control("POST", "clock", R"({"offsetMilliseconds":61000})");
    EXPECT_EQ(code(brief), "expired_auth_token");
    EXPECT_EQ(Client(service.url(), credentials).authorization().code(), "unauthorized");
    client.control("POST", "clock", R"({"offsetMilliseconds":0})");
    client.ask("b2_delete_key", {{"applicationKeyId", credentials.keyID}}, 3);
    EXPECT_EQ(code(brief), "bad_auth_token");

    client.control("POST", "clock", R"({"offsetMilliseconds":86400000})");
    EXPECT_EQ(code(client), "expired_auth_token");
    EXPECT_EQ(Client(service.url(), {credentials.keyID, "wrong"}).authorization().code(), "unauthorized");
}

TEST_F(KeyTest, KeepsAccountsApart)
{
    const auto accounts = client.control("POST", "accounts").json().at("accounts").as_array();
    const auto& second = accounts.at(1).as_object();
    const Client neighbour(service.url(), {textAt(second, "applicationKeyId"), textAt(second, "applicationKey")});
    const auto fileID = client.put(bucketID, "f");

    EXPECT_EQ(neighbour.call("b2_list_file_names", {{"bucketId", bucketID}}).code(), "bad_bucket_id");
    EXPECT_EQ(neighbour.call("b2_get_file_info", {{"fileId", fileID}}).code(), "not_found");
    EXPECT_EQ(neighbour.download("/file/test-bucket/f").status, 401);
    EXPECT_EQ(neighbour.download("/b2api/v4/b2_download_file_by_id?fileId=" + fileID).status, 401);
    EXPECT_EQ(neighbour.call("b2_list_buckets", {{"accountId", client.accountID()}}).code(), "bad_request");
    EXPECT_EQ(
        neighbour
            .call("b2_create_bucket",
                {{"accountId", neighbour.accountID()}, {"bucketName", "TEST-bucket"}, {"bucketType", "allPrivate"}})
            .code(),
        "duplicate_bucket_name");
}

} // namespace localb2::test
