#include "accounts/Reconnection.h"
#include "foundation/TaskScope.h"
#include "tests/accounts/KeyStoreFixture.h"

using testing::Contains;
using testing::HasSubstr;

using KeyStoreTest = KeyStoreFixture;

TEST_F(KeyStoreTest, AConnectedKeyLearnsItsAccountAndItsName)
{
    qtRun(store.reload());
    qtRun(store.connect(stored(master.keyID)));

    ASSERT_TRUE(*store.session);
    EXPECT_EQ((*store.session)->key->accountID, master.keyID);
    EXPECT_FALSE(*store.isConnecting);
    EXPECT_EQ(store.accountDisplayName(master.keyID), "Account " + master.keyID.substr(8));
    EXPECT_THAT(logMessages(), Contains(HasSubstr("Connected with key Master - permits: bypassGovernance, ")));
    for (const auto& entry : log.entries())
        EXPECT_THAT(entry.formatted(), Not(HasSubstr(master.applicationKey)));
}

TEST_F(KeyStoreTest, AKeyWithoutANameUsesTheOneAtTheService)
{
    auto makeKey = [](KeyStore* keyStore) -> Task<B2CreatedApplicationKey> {
        B2CreateKeyRequest request{
            .capabilities = {B2Capabilities::listKeys, B2Capabilities::listBuckets}, .keyName = "auditor"};
        co_return co_await (*keyStore->session)->client->createKey(std::move(request));
    };
    qtRun(store.reload());
    qtRun(store.connect(stored(master.keyID)));
    const auto made = qtRun(makeKey(&store));
    memory.add({made.key.applicationKeyID, std::nullopt, std::nullopt}, made.applicationKey);
    qtRun(store.reload());
    EXPECT_EQ(stored(made.key.applicationKeyID).label, "Unnamed key");

    qtRun(store.connect(stored(made.key.applicationKeyID)));

    EXPECT_EQ((*store.session)->key->label, "auditor");
    EXPECT_THAT(logMessages(), Contains("Named this key auditor from Backblaze"));
    EXPECT_TRUE(store.revokedKeyIDs().empty());
}

TEST_F(KeyStoreTest, AFailedSwitchLeavesTheSessionAndSaysWhy)
{
    memory.add({"0044a1b2c3d4e5f0000000099", "Wrong", std::nullopt}, "K004wrongwrongwrongwrongwrong00");
    qtRun(store.reload());
    qtRun(store.connect(stored(master.keyID)));
    const auto before = *store.session;

    qtRun(store.connect(stored("0044a1b2c3d4e5f0000000099")));

    EXPECT_EQ(*store.session, before);
    ASSERT_TRUE(*store.connectionFailure);
    EXPECT_EQ((*store.connectionFailure)->kind, ConnectionFailure::Kind::keyRejected);
    EXPECT_EQ((*store.lastAttempted)->label, "Wrong");
    EXPECT_THAT(logMessages(), Contains("Could not connect with key Wrong"));

    qtRun(store.connect(stored(master.keyID)));
    EXPECT_FALSE(*store.connectionFailure);
}

TEST_F(KeyStoreTest, FollowersLearnAtOnceThatTheSessionWasReplaced)
{
    int replacements = 0;
    int changes = 0;
    std::shared_ptr<B2Session> seen;
    QObject::connect(&store, &KeyStore::sessionReplaced, &store, [&] {
        ++replacements;
        changes = 0;
        seen = *store.session;
        EXPECT_FALSE(*store.connectionFailure);
        if (!seen)
            EXPECT_TRUE(store.liveKeys->empty());
    });
    QObject::connect(&store, &Observable::changed, &store, [&] {
        ++changes;
        EXPECT_EQ(*store.session, seen);
    });
    connectMaster();
    EXPECT_EQ(replacements, 1);
    ASSERT_TRUE(seen);

    keychain.isBroken = true;
    qtRun(store.connect(stored(master.keyID)));
    EXPECT_EQ(replacements, 1) << "a failed attempt replaces nothing";
    keychain.isBroken = false;
    qtRun(store.connect(stored(master.keyID)));
    EXPECT_EQ(replacements, 2);

    qtRun(store.remove(stored(master.keyID)));
    EXPECT_EQ(replacements, 3);
    EXPECT_FALSE(seen);
    EXPECT_TRUE(spinUntil([&] { return changes > 0; }));
}

TEST_F(KeyStoreTest, AKeyThatTheServiceNoLongerHasIsRevoked)
{
    memory.add({"0044a1b2c3d4e5f0000000099", "Former", master.keyID}, "K004wrongwrongwrongwrongwrong00");
    memory.add({"0044a1b2c3d4e5f0000000098", "Of another account", "ffffffffffff"}, "K004x");
    qtRun(store.reload());
    EXPECT_TRUE(store.revokedKeyIDs().empty()) << "nothing is known before a listing";

    qtRun(store.connect(stored(master.keyID)));

    EXPECT_THAT(store.revokedKeyIDs(), testing::ElementsAre("0044a1b2c3d4e5f0000000099"));
}

TEST_F(KeyStoreTest, AKeyWithoutASecretIsMissing)
{
    qtRun(store.reload());

    qtRun(store.connect({"0044a1b2c3d4e5f0000000001", "Gone", std::nullopt}));

    EXPECT_EQ(*store.connectionFailure,
        (ConnectionFailure{ConnectionFailure::Kind::keyMissing,
            "Kestrovan has no stored secret for 0044a1…0001. Remove this key and add it again."}));
}

TEST_F(KeyStoreTest, AStoreThatCannotBeReadLosesNothing)
{
    qtRun(store.reload());
    keychain.isBroken = true;

    qtRun(store.reload());
    EXPECT_EQ(store.keys->size(), 1U);
    EXPECT_THAT(logMessages(), Contains("Could not read the stored keys"));

    qtRun(store.connect(stored(master.keyID)));
    EXPECT_EQ(*store.connectionFailure, (ConnectionFailure{ConnectionFailure::Kind::other, "The keyring is locked"}));
    EXPECT_FALSE(*store.isConnecting);
}

TEST_F(KeyStoreTest, ACancelledListingMakesNoKeyLookRevoked)
{
    connectMaster();
    const auto made = createKey("working", {B2Capabilities::listBuckets});
    memory.add({made.key.applicationKeyID, "Working", master.keyID}, made.applicationKey);
    qtRun(store.reload());
    qtRun(store.loadLiveKeyNames());
    control("options", R"({"latencyMilliseconds": 50})");

    TaskScope tasks;
    tasks.start(store.loadLiveKeyNames());
    ASSERT_TRUE(spinUntil([&, turns = 0]() mutable { return ++turns > 3; }));
    tasks.cancelAll();
    qtRun(tasks.drain());

    EXPECT_TRUE(store.revokedKeyIDs().empty());
}

TEST_F(KeyStoreTest, OfTwoAttemptsAtOnceEachIsReportedWithItsOwnKey)
{
    memory.add({"0044a1b2c3d4e5f0000000099", "Wrong", std::nullopt}, "K004wrongwrongwrongwrongwrong00");
    qtRun(store.reload());
    control("options", R"({"latencyMilliseconds": 50})");

    const StoredKey missing{"0044a1b2c3d4e5f0000000001", "Missing", std::nullopt};

    TaskScope tasks;
    tasks.start(store.connect(stored("0044a1b2c3d4e5f0000000099")));
    tasks.start(store.connect(missing));
    ASSERT_TRUE(spinUntil([&] { return store.connectionFailure->has_value(); }));
    EXPECT_EQ(**store.lastAttempted, missing);
    EXPECT_TRUE(*store.isConnecting);

    qtRun(tasks.drain());
    EXPECT_EQ((*store.lastAttempted)->label, "Wrong");
    EXPECT_EQ((*store.connectionFailure)->kind, ConnectionFailure::Kind::keyRejected);
    EXPECT_FALSE(*store.isConnecting);
}

TEST_F(KeyStoreTest, AKeyRemovedWhileItConnectsStaysGone)
{
    memory.add({"0044a1b2c3d4e5f0000000099", "Wrong", std::nullopt}, "K004wrongwrongwrongwrongwrong00");
    qtRun(store.reload());
    control("options", R"({"latencyMilliseconds": 50})");
    const auto doomed = *store.keys;

    TaskScope tasks;
    for (const auto& key : doomed)
        tasks.start(store.connect(key));
    ASSERT_TRUE(spinUntil([&] { return *store.isConnecting; }));
    for (const auto& key : doomed)
        qtRun(store.remove(key));
    qtRun(tasks.drain());

    EXPECT_FALSE(*store.session);
    EXPECT_FALSE(*store.connectionFailure);
    EXPECT_FALSE(*store.lastAttempted);
    EXPECT_THAT(logMessages(), Not(Contains(HasSubstr("Could not connect"))));
}

TEST_F(KeyStoreTest, ConnectsAgainByItselfOnceTheServiceCanBeReached)
{
    using namespace std::chrono_literals;
    qtRun(store.reload());
    Reconnection reconnection(store, 5ms);
    store.lastAttempted = stored(master.keyID);
    store.connectionFailure = ConnectionFailure{ConnectionFailure::Kind::keyRejected, "No."};
    spinUntil([] { return false; }, 50ms);
    EXPECT_FALSE(*store.session) << "a refused key is not tried again";

    store.connectionFailure = ConnectionFailure{ConnectionFailure::Kind::unreachable, "No network."};
    EXPECT_TRUE(spinUntil([&] { return *store.session != nullptr; }));
    EXPECT_FALSE(*store.connectionFailure);
    qtRun(reconnection.shutDown());
}
