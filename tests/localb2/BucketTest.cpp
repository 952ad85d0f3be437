#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

namespace localb2::test {

class BucketTest : public testing::Test, protected ServiceFixture {
protected:
    Reply update(boost::json::object fields)
    {
        fields["accountId"] = client.accountID();
        fields.emplace("bucketId", bucketID);
        return client.call("b2_update_bucket", fields);
    }

    std::string create(const std::string& name, const std::string& type = "allPrivate")
    {
        const auto reply = client.call(
            "b2_create_bucket", {{"accountId", client.accountID()}, {"bucketName", name}, {"bucketType", type}});
        return reply.status == 200 ? "made" : reply.code();
    }
};

TEST_F(BucketTest, TakesGoodNamesAndTypesOnly)
{
    for (const auto& name :
        {std::string("short"), std::string(64, 'a'), std::string("b2-bucket"), std::string("under_score"),
            std::string("dots..dots"), std::string(".dotted"), std::string("192.168.10.12")})
        EXPECT_EQ(create(name), "invalid_bucket_name") << name;
    EXPECT_EQ(create("Test-Bucket"), "duplicate_bucket_name");
    EXPECT_EQ(create("snapshots", "snapshot"), "bad_request");
    EXPECT_EQ(create(std::string(63, 'a')), "made");
    EXPECT_EQ(create("with.dots"), "made");
}

TEST_F(BucketTest, ChangesWhatIsSentAndOnlyAtTheRightRevision)
{
    const auto rules = boost::json::parse(R"([{"fileNamePrefix":"tmp/","daysFromHidingToDeleting":1}])");
    const auto first =
        update({{"lifecycleRules", rules}, {"bucketInfo", {{"team", "north"}}}, {"ifRevisionIs", 2}}).json();
    const auto second = update({{"bucketType", "allPublic"}, {"bucketInfo", boost::json::object()}}).json();

    EXPECT_EQ(first.at("revision"), 3);
    EXPECT_EQ(second.at("revision"), 4);
    EXPECT_EQ(second.at("lifecycleRules"), rules);
    EXPECT_TRUE(second.at("bucketInfo").as_object().empty());
    const auto stale = update({{"bucketType", "allPrivate"}, {"ifRevisionIs", 3}});
    EXPECT_EQ(stale.status, 409);
    EXPECT_EQ(stale.code(), "conflict");
    EXPECT_EQ(update({{"lifecycleRules", boost::json::parse(R"([{"fileNamePrefix":""}])")}}).code(), "bad_request");
    EXPECT_EQ(
        update({{"lifecycleRules", boost::json::parse(R"([{"fileNamePrefix":"","daysFromHidingToDeleting":0}])")}})
            .code(),
        "bad_request");
    EXPECT_EQ(update({{"defaultServerSideEncryption", {{"mode", "SSE-C"}}}}).code(), "bad_request");
}

TEST_F(BucketTest, DeletesEmptyBucketsOnly)
{
    const auto fields = boost::json::object{{"accountId", client.accountID()}, {"bucketId", bucketID}};
    const auto fileID = client.put(bucketID, "f");
    EXPECT_EQ(client.call("b2_delete_bucket", fields).code(), "cannot_delete_non_empty_bucket");
    client.ask("b2_delete_file_version", {{"fileName", "f"}, {"fileId", fileID}});

    EXPECT_EQ(client.ask("b2_delete_bucket", fields).at("bucketName"), "test-bucket");
    EXPECT_EQ(client.call("b2_delete_bucket", fields).code(), "bad_bucket_id");
    EXPECT_EQ(create("test-bucket"), "made");
}

TEST_F(BucketTest, GuardsVersionsUnderALock)
{
    const auto locked = client.createBucket("locked-bucket", {{"fileLockEnabled", true}});
    update({{"bucketId", locked},
        {"defaultRetention", {{"mode", "governance"}, {"period", {{"duration", 1}, {"unit", "days"}}}}}});
    const auto fileID = client.put(locked, "f");
    const boost::json::object file{{"fileName", "f"}, {"fileId", fileID}};
    const auto remove = [&](bool bypasses) {
        auto fields = file;
        fields["bypassGovernance"] = bypasses;
        return client.call("b2_delete_file_version", fields);
    };
    const auto retain = [&](const char* mode, std::int64_t until, bool bypasses) {
        auto fields = file;
        fields["fileRetention"] = {{"mode", mode}, {"retainUntilTimestamp", until}};
        fields["bypassGovernance"] = bypasses;
        const auto reply = client.call("b2_update_file_retention", fields);
        return reply.status == 200 ? "" : reply.code();
    };
    const auto uploaded = client.ask("b2_get_file_info", {{"fileId", fileID}});
    const auto until = uploaded.at("fileRetention").at("value").at("retainUntilTimestamp").as_int64();
    EXPECT_EQ(until, uploaded.at("uploadTimestamp").as_int64() + 86'400'000);

    EXPECT_EQ(remove(false).status, 401);
    EXPECT_EQ(remove(false).code(), "access_denied");
    EXPECT_EQ(retain("governance", until - 1000, false), "access_denied");
    EXPECT_EQ(retain("governance", until + 1000, false), "");
    EXPECT_EQ(retain("governance", 1000, true), "retain_until_timestamp_must_be_in_future");
    EXPECT_EQ(retain("compliance", until, true), "");
    EXPECT_EQ(retain("governance", until, true), "access_denied");
    EXPECT_EQ(remove(true).code(), "access_denied");
    auto hold = file;
    hold["legalHold"] = "on";
    client.ask("b2_update_file_legal_hold", hold);
    client.control("POST", "clock", R"({"offsetMilliseconds":86400000})");
    const Client later(service.url(), service.masterKey());
    EXPECT_EQ(later.call("b2_delete_file_version", file).code(), "access_denied");
    hold["legalHold"] = "off";
    later.ask("b2_update_file_legal_hold", hold);
    later.ask("b2_delete_file_version", file);

    const auto plain = later.put(bucketID, "f");
    EXPECT_EQ(
        later.call("b2_update_file_legal_hold", {{"fileName", "f"}, {"fileId", plain}, {"legalHold", "on"}}).code(),
        "bucket_missing_file_lock");
}

} // namespace localb2::test
