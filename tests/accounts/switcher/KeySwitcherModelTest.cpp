#include "accounts/switcher/KeySwitcherModel.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/switcher/KeySummaryTexts.h"
#include "keychain/MemoryKeychain.h"
#include "localb2/Service.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <algorithm>

using testing::Eq;
using testing::Optional;

namespace {

class KeySwitcherModelTest : public testing::Test {
protected:
    KeySwitcherModelTest()
    {
        master = service.masterKey();
        keychain.add({master.keyID, "Master", master.keyID}, master.applicationKey);
    }

    QTemporaryDir directory;
    localb2::Service service{{.directory = directory.path().toStdString() + "/service", .seed = "demo"}};
    localb2::MasterKey master;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    MemoryKeychain keychain;
    ClientFactory clients{
        std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}), std::make_shared<B2NullLogSink>(), service.url()};
    KeyStore store{keychain, clients, settings, log};
};

} // namespace

TEST_F(KeySwitcherModelTest, FactsFromAConnectionAreKnownAtTheNextStart)
{
    KeySwitcherModel model(store, keychain, settings);
    qtRun(store.reload());
    qtRun(store.connect(store.keys->front()));
    const auto found =
        std::ranges::find_if(*store.liveKeys, [](const auto& key) { return key.second.bucketIDs.size() == 1; });
    ASSERT_NE(found, store.liveKeys->end());
    const auto [limitedID, limited] = *found; // The list may be replaced.
    keychain.add({limitedID, "Limited", master.keyID}, "never used");
    qtRun(store.reload());
    ASSERT_TRUE(spinUntil([&] { return model.summaries->contains(limitedID); }));
    model.setBucketNames({{limited.bucketIDs.front(), "photos"}});
    EXPECT_EQ(model.header().keyLabel, "Master");
    EXPECT_EQ(model.header().badge, std::nullopt) << "a master key is not restricted";

    KeyStore nextStore(keychain, clients, settings, log);
    KeySwitcherModel next(nextStore, keychain, settings);
    qtRun(nextStore.reload());

    EXPECT_EQ(*next.summaries, *model.summaries);
    EXPECT_FALSE(*next.hasLoadedSummaries);
    const auto content = next.content();
    EXPECT_FALSE(content.card) << "nothing was tried yet";
    ASSERT_EQ(content.groups.size(), 1U);
    EXPECT_THAT(reachesText(next.summaries->at(limitedID)), testing::StartsWith("photos only"));

    // Another session that lists no buckets does not remove their names.
    model.setBucketNames({});
    EXPECT_EQ(*model.summaries, *next.summaries);
}

TEST_F(KeySwitcherModelTest, AFailedSwitchIsReportedBesideTheSessionThatGoesOn)
{
    keychain.add({"0044a1b2c3d4e5f0000000099", "Wrong", std::nullopt}, "K004nothing");
    KeySwitcherModel model(store, keychain, settings);
    qtRun(store.reload());
    qtRun(store.connect({master.keyID, "Master", master.keyID}));
    qtRun(store.connect({"0044a1b2c3d4e5f0000000099", "Wrong", std::nullopt}));

    const auto card = model.content().card;
    ASSERT_TRUE(card);
    EXPECT_EQ(card->title, "Master");
    EXPECT_THAT(card->permits, Optional(Eq("Everything, including managing keys")));
    EXPECT_THAT(card->notConnected, Optional(testing::StartsWith("Couldn't switch to “Wrong”.")));
    EXPECT_FALSE(card->canRetry) << "the service refused the key itself";
}
