#include "shell/DetailState.h"

#include <gmock/gmock.h>

using Action = DetailState::Action;
using Kind = DetailState::Kind;

namespace {

DetailInputs connected()
{
    DetailInputs inputs;
    inputs.isStarted = true;
    inputs.hasSession = true;
    inputs.keyCount = 1;
    inputs.bucketCount = 3;
    return inputs;
}

const ConnectionFailure networkFailure{ConnectionFailure::Kind::unreachable, "No network."};

} // namespace

TEST(DetailStateTest, SaysNothingBeforeTheKeysWereRead)
{
    EXPECT_EQ(decideDetail({}).kind, Kind::nothing);
    EXPECT_EQ(decideDetail({.isStartSlow = true}).notice.title, "Waiting for the keyring…");

    DetailInputs started;
    started.isStarted = true;
    started.isStartSlow = true;
    EXPECT_EQ(decideDetail(started).kind, Kind::welcome);
    started.keyCount = 1;
    EXPECT_EQ(decideDetail(started).notice.title, "Not Connected");
    started.isConnecting = true;
    EXPECT_EQ(decideDetail(started).kind, Kind::connecting);
}

TEST(DetailStateTest, AFailedFirstConnectionOffersWhatHelps)
{
    DetailInputs inputs;
    inputs.isStarted = true;
    inputs.keyCount = 2;
    inputs.attemptedLabel = "Laptop";
    inputs.failure = networkFailure;

    const auto state = decideDetail(inputs);

    EXPECT_EQ(state.notice.title, "Cannot Reach Backblaze");
    EXPECT_EQ(state.action, Action::connectAgain);
    EXPECT_TRUE(state.notice.offersAddKey);

    inputs.failure = ConnectionFailure{ConnectionFailure::Kind::keyRejected, "No longer valid."};
    EXPECT_EQ(decideDetail(inputs).action, Action::none) << "the same key would be refused again";
}

TEST(DetailStateTest, AClosedKeyringIsNoEmptyOne)
{
    DetailInputs inputs;
    inputs.isWaitingForUnlock = true;
    EXPECT_EQ(decideDetail(inputs).action, Action::stopWaiting) << "before anything was read";

    inputs.isStarted = true;
    inputs.isWaitingForUnlock = false;
    inputs.storeFailure = "The keyring stayed locked.";
    EXPECT_EQ(decideDetail(inputs).kind, Kind::notice) << "the welcome is for those who have no key";
    EXPECT_EQ(decideDetail(inputs).action, Action::readKeys);

    inputs.needsPassphrase = true;
    EXPECT_EQ(decideDetail(inputs).action, Action::unlock);

    inputs = connected();
    inputs.isWaitingForUnlock = true;
    EXPECT_EQ(decideDetail(inputs).notice.title, "Select a Bucket") << "a session goes on meanwhile";
}

TEST(DetailStateTest, AFailedSwitchLeavesThePaneOfTheOldSession)
{
    auto inputs = connected();
    inputs.failure = networkFailure;
    inputs.selection = SidebarItem::bucket("b1");
    inputs.isSelectionListed = true;

    EXPECT_EQ(decideDetail(inputs).kind, Kind::pane);
}

TEST(DetailStateTest, WithoutASelectedBucketItSaysWhatToDo)
{
    auto inputs = connected();
    EXPECT_EQ(decideDetail(inputs).notice.title, "Select a Bucket");

    inputs.bucketCount = 0;
    EXPECT_EQ(decideDetail(inputs).notice.title, "No Buckets");
    inputs.isLoadingBuckets = true;
    EXPECT_EQ(decideDetail(inputs).kind, Kind::connecting);
    inputs.bucketsError = "B2 401 unauthorized: this key is not allowed to make that call";
    const auto failed = decideDetail(inputs);
    EXPECT_EQ(failed.action, Action::readBuckets);
}
