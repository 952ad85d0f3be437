#include "accounts/switcher/KeySummary.h"
#include "accounts/switcher/KeySummaryTexts.h"
#include "foundation/settings/SettingsKeys.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::Eq;
using testing::Optional;
using namespace std::chrono_literals;

namespace {

constexpr auto noon = std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + 12h;

KeySummary withExpiry(std::chrono::system_clock::duration fromNoon)
{
    return {.expires = std::chrono::floor<std::chrono::milliseconds>(noon + fromNoon), .expiryKnown = true};
}

KeySummary permitting(std::vector<std::string> capabilities)
{
    return {.capabilities = std::move(capabilities), .expiryKnown = true};
}

B2Authorization signIn()
{
    B2Authorization answer;
    answer.accountID = "4a1b2c3d4e5f";
    answer.storage.s3URL = "https://s3.us-west-004.backblazeb2.com";
    answer.storage.allowed.capabilities = {B2Capabilities::readFiles, B2Capabilities::listFiles};
    answer.storage.allowed.buckets = {{"b1", "photos"}, {"b2", std::nullopt}};
    answer.storage.allowed.namePrefix = "2025/";
    return answer;
}

} // namespace

TEST(KeySummaryTest, ASignInKnowsEverythingExceptADateItOmits)
{
    auto answer = signIn();
    const KeySummary summary = keySummary(answer);
    EXPECT_THAT(summary.capabilities, ElementsAre("listFiles", "readFiles"));
    EXPECT_THAT(summary.bucketNames, ElementsAre("photos"));
    EXPECT_EQ(summary.bucketCount, 2);
    EXPECT_EQ(summary.region, "us-west-004");
    EXPECT_FALSE(summary.expiryKnown);

    answer.applicationKeyExpirationTimestamp = 1'700'000'000'000;
    EXPECT_TRUE(keySummary(answer).expiryKnown);
}

TEST(KeySummaryTest, AConnectionRenewsWhatIsKnownAndForgetsRemovedKeys)
{
    const B2ApplicationKey live{.applicationKeyID = "live", .bucketIDs = {"b1", "b9"}, .namePrefix = ""};
    KeySummarySources sources{.keys = {{"live", "", "acc"}, {"own", "", "acc"}, {"other", "", "acc2"}},
        .liveKeys = {{"live", live}, {"not stored", live}},
        .sessionKeyID = "own",
        .authorization = signIn(),
        .bucketNames = {{"b1", "photos"}}};
    const KeySummaries known{{"other", permitting({"listKeys"})}, {"removed", {}}, {"live", permitting({"old"})}};

    const auto updated = updatedSummaries(known, sources);

    ASSERT_EQ(updated.size(), 3U);
    EXPECT_THAT(updated.at("live").bucketNames, ElementsAre("photos"));
    EXPECT_EQ(updated.at("live").bucketCount, 2);
    EXPECT_EQ(updated.at("live").namePrefix, std::nullopt);
    EXPECT_EQ(updated.at("live").region, "us-west-004");
    EXPECT_EQ(updated.at("own"), keySummary(signIn()));
    EXPECT_EQ(updated.at("other"), known.at("other"));

    sources.keys.clear();
    EXPECT_EQ(updatedSummaries(known, sources), known) << "an unreadable list of keys forgets nothing";
}

TEST(KeySummaryTest, TheCacheKeepsEveryFieldAndLeavesOutForeignEntries)
{
    Settings settings{{}};
    EXPECT_TRUE(cachedSummaries(settings).empty());
    KeySummary full = keySummary(signIn());
    full.expires = KeySummary::Date(1'700'000'000'123ms);
    const KeySummaries summaries{{"k1", full}, {"k2", permitting({})}};
    cacheSummaries(settings, summaries);
    EXPECT_EQ(cachedSummaries(settings), summaries);

    for (const std::string damaged : {"", "not JSON", "[1,2]", R"({"k1": 7})", R"({"k1": {"capabilities": "all"}})",
             R"({"k1": {"capabilities": [], "bucketNames": [], "bucketCount": -1, "expiryKnown": true}})",
             R"({"k1": {"capabilities": [], "bucketNames": [], "bucketCount": 0, "expiryKnown": 1}})",
             R"({"k1": {"capabilities": [], "bucketNames": [], "bucketCount": 0, "expiryKnown": true,
                 "expires": 1e300}})",
             R"({"k1": {"capabilities": [4], "bucketNames": [], "bucketCount": 0, "expiryKnown": true}})"}) {
        settings.setBytes(SettingsKeys::keySummaries, damaged);
        EXPECT_TRUE(cachedSummaries(settings).empty()) << damaged;
    }
    settings.setBytes(SettingsKeys::keySummaries,
        R"({"bad": [], "k": {"capabilities": ["x"], "bucketNames": [], "bucketCount": 0, "expiryKnown": true,
            "later": 1}})");
    EXPECT_EQ(cachedSummaries(settings), (KeySummaries{{"k", permitting({"x"})}}));
}

TEST(KeySummaryTextsTest, SaysWhatAKeyMayDo)
{
    KeySummary all = permitting({});
    for (const auto& capability : B2Capabilities::all())
        all.capabilities.push_back(capability.rawValue);
    EXPECT_EQ(permitsText(all, false), "Everything, including managing keys");
    EXPECT_EQ(permitsText(permitting({"listFiles"}), true), "Everything, including managing keys");
    EXPECT_EQ(permitsText(permitting({"listBuckets", "listFiles", "readFiles", "shareFiles"}), false),
        "Browse and download. Cannot upload, delete or change anything");
    EXPECT_EQ(permitsText(permitting({"readFiles", "writeFiles"}), false),
        "Read and write files. Cannot manage keys or buckets");
    EXPECT_EQ(
        permitsText(permitting({"writeFiles", "writeBuckets"}), false), "Read and write files. Cannot manage keys");
    EXPECT_EQ(
        permitsText(permitting({"writeFiles", "deleteKeys"}), false), "Read and write files. Cannot manage buckets");
    EXPECT_EQ(permitsText(permitting({"writeFiles", "writeKeys", "writeBuckets"}), false), "Read and write files");
}

TEST(KeySummaryTextsTest, SaysWhatAKeyReachesAndIsLimitedTo)
{
    KeySummary summary = permitting({"listFiles", "readFiles", "writeFiles", "deleteFiles"});
    EXPECT_EQ(reachesText(summary), "All buckets");
    EXPECT_EQ(restrictionText(summary, false), std::nullopt);
    EXPECT_EQ(abilityText(summary),
        "This key can browse, download, upload and hide, and delete. Actions it cannot perform are disabled.");

    summary.bucketCount = 1;
    EXPECT_EQ(reachesText(summary), "1 bucket");
    summary.bucketNames = {"photos"};
    summary.namePrefix = "2025/";
    EXPECT_EQ(reachesText(summary), "photos only, names starting with “2025/”");
    summary.capabilities = {"listFiles", "readFiles"};
    EXPECT_THAT(restrictionText(summary, false), Optional(Eq("photos only · “2025/” · Read only")));
    EXPECT_EQ(abilityText(summary), "This key can browse and download. Actions it cannot perform are disabled.");
    EXPECT_EQ(restrictionText(summary, true), std::nullopt);

    summary = permitting({"listFiles", "writeFiles"});
    summary.bucketCount = 4;
    EXPECT_EQ(reachesText(summary), "4 buckets");
    EXPECT_THAT(restrictionText(summary, false), Optional(Eq("4 buckets · Limited")));
}

TEST(KeySummaryTextsTest, CountsTheDaysToTheEndOfAKeyAndWarnsInTheLastWeek)
{
    struct Case {
        KeySummary summary;
        std::optional<std::string> text;
        std::optional<std::string> flag;
    };
    const std::vector<Case> cases{
        {{.expiryKnown = false}, std::nullopt, std::nullopt},
        {{.expiryKnown = true}, "Never", std::nullopt},
        {withExpiry(-24h), "Expired 11/20/26.", "Expired"},
        {withExpiry(0h), "Expired 11/21/26.", "Expired"},
        {withExpiry(1h), "Expires today", "Expires today"},
        {withExpiry(13h), "Expires tomorrow", "Expires tomorrow"},
        {withExpiry(7 * 24h), "7 days", "7 days"},
        {withExpiry(8 * 24h), "8 days", std::nullopt},
        {withExpiry(30 * 24h), "30 days", std::nullopt},
        {withExpiry(31 * 24h), "12/22/26", std::nullopt},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(expiresText(each.summary, noon), each.text);
        EXPECT_EQ(expiryFlag(each.summary, noon), each.flag);
        EXPECT_EQ(expiresSoon(each.summary, noon), each.flag.has_value());
    }
}
