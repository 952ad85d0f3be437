#include "accounts/switcher/KeySwitcher.h"

#include "accounts/KeyNames.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::Optional;
using namespace std::chrono_literals;

namespace {

const StoredKey master{"acc1", "My master", "acc1"};
const StoredKey reader{"k2", "Reader", "acc1"};
const StoredKey revoked{"k3", "Gone", "acc1"};
const StoredKey abroad{"k4", "Abroad", "acc2"};
const StoredKey unknown{"k5", "Never connected", std::nullopt};

const ConnectionFailure unreachable{ConnectionFailure::Kind::unreachable, "Backblaze returned 503."};
const ConnectionFailure rejection{ConnectionFailure::Kind::keyRejected, "It was deleted."};

KeySummary readOnly(std::chrono::milliseconds end)
{
    return {.capabilities = {"listFiles", "readFiles"},
        .bucketNames = {"photos"},
        .bucketCount = 1,
        .expires = KeySummary::Date(end),
        .expiryKnown = true,
        .region = "us-west-004"};
}

KeySwitcherState connectedWith(const StoredKey& key)
{
    KeySwitcherState state;
    state.keys = {master, reader, revoked, abroad, unknown};
    state.revokedKeyIDs = {revoked.keyID};
    state.accounts = groupByAccount(state.keys, {{"acc1", "Home"}}, state.revokedKeyIDs);
    state.liveKeyIDs = {reader.keyID};
    state.sessionKey = key;
    state.lastAttempted = key;
    state.isStarted = true;
    state.now = std::chrono::system_clock::time_point(std::chrono::hours(1000));
    state.summaries = {{reader.keyID, readOnly(1002h)}};
    return state;
}

std::vector<std::string> titlesOf(const KeySwitcherGroup& group)
{
    std::vector<std::string> titles;
    for (const auto& row : group.rows)
        titles.push_back(row.title);
    return titles;
}

} // namespace

TEST(KeySwitcherTest, TheOtherKeysAreGroupedByAccountAndTheCurrentOneHasTheCard)
{
    const auto content = keySwitcherContent(connectedWith(master));

    ASSERT_TRUE(content.card);
    EXPECT_EQ(content.card->title, "My master");
    EXPECT_EQ(content.card->account, "Home");
    EXPECT_TRUE(content.card->isMaster);
    EXPECT_FALSE(content.card->canShowInfo);
    EXPECT_EQ(content.card->notConnected, std::nullopt);
    ASSERT_EQ(content.groups.size(), 3U);
    EXPECT_EQ(content.groups[0].title, "Account acc2");
    EXPECT_EQ(content.groups[1].title, "Home");
    EXPECT_THAT(titlesOf(content.groups[1]), ElementsAre("Reader", "Gone"));
    EXPECT_EQ(content.groups[2].title, "Account not yet known");
    EXPECT_THAT(titlesOf(content.groups[2]), ElementsAre("Never connected"));
    EXPECT_EQ(content.revokedCount, 1U);

    const auto& live = content.groups[1].rows[0];
    EXPECT_THAT(live.subtitle, Optional(Eq("photos only · Read only")));
    EXPECT_TRUE(live.expiryFlag);
    EXPECT_TRUE(live.canShowInfo);
    const auto& gone = content.groups[1].rows[1];
    EXPECT_TRUE(gone.isMissing);
    EXPECT_THAT(gone.subtitle, Optional(Eq("No longer at Backblaze")));
}

TEST(KeySwitcherTest, AGroupWithoutOtherKeysIsLeftOut)
{
    auto state = connectedWith(abroad);
    const auto content = keySwitcherContent(state);
    ASSERT_EQ(content.groups.size(), 2U);
    EXPECT_THAT(content.groups[0].rows[0].subtitle, Optional(Eq("Master Application Key")));

    state.keys = {abroad};
    state.accounts = groupByAccount(state.keys, {}, {});
    EXPECT_THAT(keySwitcherContent(state).groups, IsEmpty());
}

TEST(KeySwitcherTest, TheCardSaysWhatTheKeyIs)
{
    auto state = connectedWith(reader);
    state.sharedKeyID = reader.keyID;

    const auto card = keySwitcherContent(state).card;

    ASSERT_TRUE(card);
    EXPECT_THAT(card->permits, Optional(Eq("Browse and download. Cannot upload, delete or change anything")));
    EXPECT_THAT(card->reaches, Optional(Eq("photos only")));
    EXPECT_THAT(card->region, Optional(Eq("us-west-004")));
    EXPECT_TRUE(card->expiresSoon);
    EXPECT_TRUE(card->isShared);
    EXPECT_TRUE(card->canShowInfo);

    const auto header = keySwitcherHeader(state);
    EXPECT_EQ(header.keyLabel, "Reader");
    EXPECT_EQ(header.account, "Home");
    EXPECT_EQ(header.regionTag, "us-west-004");
    EXPECT_THAT(header.badge, Optional(Eq("photos only · Read only")));
    EXPECT_THAT(
        header.badgeHelp, Optional(Eq("This key can browse and download. Actions it cannot perform are disabled.")));
    EXPECT_FALSE(header.notConnected);
}

TEST(KeySwitcherTest, WithoutASessionTheCardSaysWhyAndWhetherToTryAgain)
{
    auto state = connectedWith(reader);
    state.sessionKey.reset();
    state.failure = unreachable;
    auto card = keySwitcherContent(state).card;
    EXPECT_EQ(card->key, reader);
    EXPECT_THAT(card->notConnected, Optional(Eq("Cannot Reach Backblaze. Backblaze returned 503.")));
    EXPECT_TRUE(card->canRetry);
    EXPECT_EQ(keySwitcherHeader(state).keyLabel, "Not Connected");

    state.isConnecting = true;
    EXPECT_FALSE(keySwitcherContent(state).card->canRetry) << "an attempt is under way";

    state.isConnecting = false;
    state.failure = rejection;
    EXPECT_FALSE(keySwitcherContent(state).card->canRetry);

    state.lastAttempted.reset();
    state.failure.reset();
    EXPECT_FALSE(keySwitcherContent(state).card);
}

TEST(KeySwitcherTest, AFailedSwitchIsReportedOnTheCardOfTheKeyStillInUse)
{
    auto state = connectedWith(master);
    state.lastAttempted = abroad;
    state.failure = unreachable;

    const auto content = keySwitcherContent(state);

    EXPECT_EQ(content.card->key, master);
    EXPECT_THAT(content.card->notConnected,
        Optional(Eq("Couldn't switch to “Abroad”. Backblaze returned 503. Still connected with “My master”.")));
    EXPECT_TRUE(content.card->canRetry);
    EXPECT_FALSE(keySwitcherHeader(state).notConnected);
}

TEST(KeySwitcherTest, WithoutKeysTheHeaderSaysSoOnlyOnceTheyWereRead)
{
    KeySwitcherState state;
    EXPECT_EQ(keySwitcherHeader(state).keyLabel, "");
    state.isStarted = true;
    EXPECT_EQ(keySwitcherHeader(state).keyLabel, "No Key");
    EXPECT_TRUE(keySwitcherHeader(state).notConnected);
    EXPECT_FALSE(keySwitcherContent(state).hasKeys);
    EXPECT_FALSE(keySwitcherContent(state).unread);

    EXPECT_EQ(removeRevokedTitle(1), "Remove 1 Key Backblaze No Longer Has…");
    EXPECT_EQ(removeRevokedTitle(3), "Remove 3 Keys Backblaze No Longer Has…");
}

TEST(KeySwitcherTest, KeysThatCannotBeReadAreNotCalledMissing)
{
    KeySwitcherState waiting;
    waiting.isWaitingForUnlock = true;
    EXPECT_EQ(keySwitcherHeader(waiting).keyLabel, "Keys Not Read");
    EXPECT_THAT(keySwitcherHeader(waiting).unreadReason, Optional(Eq("The keyring is locked")));

    KeySwitcherState state;
    state.isStarted = true;
    state.storeFailure = "The keyring is locked.";
    auto locked = state;
    locked.needsPassphrase = true;
    EXPECT_THAT(keySwitcherHeader(locked).unreadReason, Optional(Eq("Locked with a passphrase")));
    EXPECT_TRUE(keySwitcherContent(locked).unread->canUnlock);
    EXPECT_FALSE(keySwitcherContent(state).unread->canUnlock) << "a passphrase is no help there";
    EXPECT_EQ(keySwitcherHeader(state).keyLabel, "Keys Not Read");
    EXPECT_EQ(keySwitcherContent(state).unread->text, "The keyring is locked. Nothing has been removed.");

    state.keys = {reader};
    EXPECT_FALSE(keySwitcherContent(state).unread) << "the last known list is shown";
    EXPECT_EQ(keySwitcherHeader(state).keyLabel, "Not Connected");
}
