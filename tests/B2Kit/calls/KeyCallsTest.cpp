#include "B2Kit/calls/B2AccountKeys.h"
#include "tests/B2Kit/ClientFixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr auto listKeys = "b2_list_keys";
constexpr auto deleteKey = "b2_delete_key";

/// A key as version 4 describes it (`buckets` is a list) or version 3 (a text or null).
std::string key(const std::string& id, const std::string& version, const std::string& buckets)
{
    return R"({"applicationKeyId": ")" + id + R"(", "keyName": "n", "accountId": "account", "capabilities": [], )"
        + (version == "v4" ? R"("bucketIds": )" : R"("bucketId": )") + buckets + "}";
}

std::string keysPage(const std::vector<std::string>& keys, const std::string& next = "null")
{
    std::string list;
    for (const auto& key : keys)
        list += (list.empty() ? "" : ",") + key;
    return R"({"keys": [)" + list + R"(], "nextApplicationKeyId": )" + next + "}";
}

const auto overTwo = R"(["b1", "b2"])";

class KeyCallsTest : public ClientFixture {
protected:
    Task<std::string> listedIDs()
    {
        std::string ids;
        auto keys = allKeys(client, 2);
        while (const auto found = co_await keys.next())
            ids += found->applicationKeyID + (found->bucketIDs.empty() ? " " : "@" + found->bucketIDs.front() + " ");
        co_return ids;
    }

    std::vector<std::string> versionsOf(const std::string& operation) const
    {
        std::vector<std::string> versions;
        for (const auto& request : transport->requests(operation))
            versions.push_back(request.url.substr(request.url.find("/b2api/") + 7, 2));
        return versions;
    }
};

TEST_F(KeyCallsTest, AKeyForOneBucketIsCreatedThroughVersionThree)
{
    const std::string created = R"({"applicationKeyId": "k", "keyName": "n", "accountId": "account",
        "capabilities": [], "applicationKey": "secret", "bucketId": "b1"})";
    for (int i = 0; i < 3; ++i)
        transport->answer("b2_create_key", created);
    B2CreateKeyRequest request{
        .capabilities = {B2Capabilities::writeFiles, B2Capabilities::listFiles}, .keyName = "n", .namePrefix = "p/"};

    for (const auto& bucketIDs : {std::vector<std::string>(), {"b1"}, {"b1", "b2"}}) {
        request.bucketIDs = bucketIDs;
        EXPECT_THAT(run(client->createKey(request)).key.bucketIDs, ElementsAre("b1"));
    }

    EXPECT_THAT(versionsOf("b2_create_key"), ElementsAre("v4", "v3", "v4"));
    const std::string start = R"({"accountId":"account","capabilities":["listFiles","writeFiles"],"keyName":"n",)";
    EXPECT_THAT(bodiesOf("b2_create_key"),
        ElementsAre(start + R"("namePrefix":"p/"})", start + R"("bucketId":"b1","namePrefix":"p/"})",
            start + R"("bucketIds":["b1","b2"],"namePrefix":"p/"})"));
}

TEST_F(KeyCallsTest, ReportsWhenALostAnswerMayHaveCreatedASecondKey)
{
    transport->loseConnection("b2_create_key");
    transport->answer("b2_create_key",
        R"({"applicationKeyId": "k2", "keyName": "n", "accountId": "a", "capabilities": [], "applicationKey": "secret"})");

    EXPECT_TRUE(run(client->createKey({.keyName = "n"})).mayHaveTwin);

    EXPECT_EQ(log->lines().back(),
        "Warning keys: An answer to b2_create_key was lost, so there may be a second key named n | "
        "The key that was received is k2.");
}

TEST_F(KeyCallsTest, KeysSplitBetweenTheVersionsAreAllListed)
{
    transport->answer(listKeys, keysPage({key("k1", "v4", overTwo)}, "\"k3\""))
        .answer(listKeys, keysPage({key("k3", "v4", overTwo)}));
    transport->answer(listKeys, keysPage({key("k2", "v3", "\"b9\"")}, "\"k4\""))
        .answer(listKeys, keysPage({key("k4", "v3", "null")}));

    EXPECT_EQ(run(listedIDs()), "k1@b1 k3@b1 k2@b9 k4 ");

    EXPECT_THAT(versionsOf(listKeys), ElementsAre("v4", "v4", "v3", "v3"));
    EXPECT_THAT(bodiesOf(listKeys),
        ElementsAre(R"({"accountId":"account","maxKeyCount":2})",
            R"({"accountId":"account","maxKeyCount":2,"startApplicationKeyId":"k3"})",
            R"({"accountId":"account","maxKeyCount":2})",
            R"({"accountId":"account","maxKeyCount":2,"startApplicationKeyId":"k4"})"));
}

TEST_F(KeyCallsTest, KeysThatBothVersionsKnowAreListedOnce)
{
    transport->answer(listKeys, keysPage({key("k1", "v4", overTwo), key("k2", "v4", R"(["b9"])")}));
    transport->answer(listKeys, keysPage({key("k2", "v3", "\"b9\"")}));

    EXPECT_EQ(run(listedIDs()), "k1@b1 k2@b9 ");
}

TEST_F(KeyCallsTest, VersionThreeMayRefuseWhenVersionFourListsEveryKey)
{
    transport->answer(listKeys, keysPage({key("k1", "v4", overTwo), key("k2", "v4", "[]")}));
    transport->refuse(listKeys, 401, "unsupported");

    EXPECT_EQ(run(listedIDs()), "k1@b1 k2 ");
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(KeyCallsTest, AListThatMayBeIncompleteIsAFailure)
{
    // Nothing proves that version 4 lists the keys that version 3 refuses.
    transport->answer(listKeys, keysPage({key("k1", "v4", overTwo)})).refuse(listKeys, 401, "unsupported");
    EXPECT_EQ(failureOf(listedIDs()), "B2 401 unsupported: why");
    // A refusal for another reason proves nothing.
    transport->answer(listKeys, keysPage({key("k2", "v4", "[]")})).refuse(listKeys, 403, "transaction_cap_exceeded");
    EXPECT_EQ(failureOf(listedIDs()), "B2 403 transaction_cap_exceeded: why");

    transport->refuse(listKeys, 400, "bad_request");
    EXPECT_EQ(failureOf(listedIDs()), "B2 400 bad_request: why");

    transport->answer(listKeys, keysPage({}, "\"k1\"")).answer(listKeys, keysPage({}, "\"k1\""));
    EXPECT_EQ(failureOf(listedIDs()), "Invalid response: b2_list_keys: the next page would begin where this one did");
}

TEST_F(KeyCallsTest, ADeletionTriesTheOtherVersion)
{
    transport->answer(deleteKey, key("k1", "v4", overTwo));
    EXPECT_EQ(run(deleteAccountKey(client, "k1")).applicationKeyID, "k1");

    transport->refuse(deleteKey, 400, "bad_request").answer(deleteKey, key("k2", "v3", "null"));
    EXPECT_EQ(run(deleteAccountKey(client, "k2")).applicationKeyID, "k2");

    EXPECT_THAT(versionsOf(deleteKey), ElementsAre("v4", "v4", "v3"));
    EXPECT_THAT(log->lines(), IsEmpty()) << "a refusal that the other version makes up for is not an error";
}

TEST_F(KeyCallsTest, ADeletionThatBothVersionsRefuseThrowsTheFirstRefusal)
{
    transport->refuse(deleteKey, 400, "bad_request", "first").refuse(deleteKey, 401, "unsupported", "second");
    EXPECT_EQ(failureOf(deleteAccountKey(client, "k1")), "B2 400 bad_request: first");
    EXPECT_THAT(log->lines(), ElementsAre("Error api: b2_delete_key failed: 401 unsupported | second"));

    // A missing capability is missing in every version.
    transport->refuse(deleteKey, 401, "unauthorized", "");
    EXPECT_THAT(failureOf(deleteAccountKey(client, "k1")), HasSubstr("not allowed"));
    EXPECT_EQ(transport->count(deleteKey), 3U);

    // A failure for another reason says more than the first refusal.
    transport->refuse(deleteKey, 400, "bad_request");
    for (int i = 0; i < 5; ++i)
        transport->refuse(deleteKey, 503, "service_unavailable");
    EXPECT_EQ(failureOf(deleteAccountKey(client, "k1")), "B2 503 service_unavailable: why");
    transport->refuse(deleteKey, 400, "bad_request").refuse(deleteKey, 403, "access_denied");
    EXPECT_EQ(failureOf(deleteAccountKey(client, "k1")), "B2 403 access_denied: why");
}

TEST_F(KeyCallsTest, ADeletionWhoseAnswerWasLostIsLookedUp)
{
    const auto loseAnswer = [this] {
        transport->loseConnection(deleteKey)
            .refuse(deleteKey, 400, "bad_request")
            .refuse(deleteKey, 400, "bad_request");
    };
    loseAnswer();
    transport->answer(listKeys, keysPage({})).answer(listKeys, keysPage({key("k2", "v3", "null")}));
    EXPECT_EQ(run(deleteAccountKey(client, "k1")).applicationKeyID, "k1");

    loseAnswer();
    transport->answer(listKeys, keysPage({})).answer(listKeys, keysPage({key("k1", "v3", "null")}));
    EXPECT_EQ(failureOf(deleteAccountKey(client, "k1")), "B2 400 bad_request: why");
}

} // namespace
