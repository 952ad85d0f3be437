#include "B2Kit/B2Error.h"
#include "accounts/KeyNames.h"
#include "accounts/KeyRemoval.h"
#include "foundation/settings/SettingsKeys.h"
#include "tests/accounts/KeyStoreFixture.h"
#include "tests/support/RunItems.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class KeyStoreChangesTest : public KeyStoreFixture {
protected:
    template <class T>
    std::exception_ptr errorOf(Task<T> task)
    {
        try {
            qtRun(std::move(task));
        } catch (...) {
            return std::current_exception();
        }
        return nullptr;
    }

    ItemRun::Summary removeRevoked() { return runItems(*makeRevokedKeysRemoval(store, store.revokedKeys())); }

    std::vector<std::string> storedIDs()
    {
        std::vector<std::string> ids;
        for (const auto& entry : qtRun(memory.entries()))
            ids.push_back(entry.keyID);
        return ids;
    }
};

const std::string refusedText = "Backblaze did not accept this key. Check the keyID and the applicationKey, and try "
                                "again.";

} // namespace

TEST_F(KeyStoreChangesTest, AnAddedKeyBecomesTheSessionAndUsesItsNameAtTheService)
{
    connectMaster();
    const auto made = createKey("auditor", {B2Capabilities::listKeys, B2Capabilities::listBuckets});

    qtRun(store.add(" ", " " + made.key.applicationKeyID + "\n", made.applicationKey + "\n"));

    ASSERT_TRUE(*store.session);
    EXPECT_EQ(*(*store.session)->key, (StoredKey{made.key.applicationKeyID, "auditor", master.keyID}));
    EXPECT_THAT(logMessages(), Contains("Validating key " + made.key.applicationKeyID));
    EXPECT_THAT(logMessages(), Contains("Key " + made.key.applicationKeyID + " accepted"));
    const auto error = errorOf(store.add("Again", made.key.applicationKeyID, "anything"));
    EXPECT_EQ(addKeyMessage(error, false),
        "This key is already in Kestrovan, as “auditor”. Remove it first if you want to replace it.");
}

TEST_F(KeyStoreChangesTest, AKeyThatIsOnlyAddedDoesNotChangeTheSession)
{
    connectMaster();
    const auto made = createKey("reader", {B2Capabilities::listBuckets});

    qtRun(store.addWithoutSwitching("", made.key.applicationKeyID, made.applicationKey));

    EXPECT_EQ((*store.session)->key->keyID, master.keyID);
    EXPECT_EQ(stored(made.key.applicationKeyID).label, unnamedKeyLabel);
    EXPECT_THAT(logMessages(), Contains("Could not read the key's name from Backblaze"));
    EXPECT_THAT(logMessages(), Contains("Added key Unnamed key to Kestrovan"));
    EXPECT_EQ(log.entries().back().detail,
        made.key.applicationKeyID + " - permits: listBuckets. Stored in the Keychain; not switched to.");
    EXPECT_THAT(store.revokedKeys(), IsEmpty()) << "the listing is read again, since it was older than the key";
}

TEST_F(KeyStoreChangesTest, ARefusedOrUnstorableKeyChangesNothing)
{
    connectMaster();
    const auto refusal = errorOf(store.add("Wrong", "0044a1b2c3d4e5f0000000077", "K004wrong"));
    EXPECT_EQ(addKeyMessage(refusal, false), refusedText);
    EXPECT_EQ(
        addKeyMessage(refusal, true), "Backblaze did not accept this key. Check the applicationKey and try again.");

    const auto made = createKey("reader", {B2Capabilities::listBuckets});
    keychain.isBroken = true;
    const auto locked = errorOf(store.add("", made.key.applicationKeyID, made.applicationKey));
    EXPECT_EQ(addKeyMessage(locked, false), "The keyring is locked");
    keychain.isBroken = false;
    EXPECT_THAT(storedIDs(), ElementsAre(master.keyID));
    EXPECT_EQ((*store.session)->key->keyID, master.keyID);
}

TEST_F(KeyStoreChangesTest, TheMessageOfAFailedAddNamesWhatHelps)
{
    const auto message = [](auto error) { return addKeyMessage(std::make_exception_ptr(error), false); };
    EXPECT_EQ(message(B2Error(B2APIError{503, "busy", "no"})),
        "Backblaze returned 503. This is usually temporary, so try again in a moment.");
    EXPECT_EQ(message(B2TransportError(B2TransportError::Code::cannotFindHost, "The server could not be found.")),
        "Kestrovan could not reach Backblaze. The server could not be found.");
}

TEST_F(KeyStoreChangesTest, RemovingAKeyRemovesTheSortsOfItsAccountButNotItsName)
{
    connectMaster();
    memory.add({"key-2", "Second", master.keyID}, "secret");
    qtRun(store.reload());
    const auto sort = SettingsKeys::browserSort(master.keyID, "bucket");
    settings.set(sort, "name");
    qtRun(store.renameAccount(master.keyID, " Office "));

    qtRun(store.remove(stored("key-2")));
    EXPECT_TRUE(settings.text(sort));
    qtRun(store.remove(stored(master.keyID)));

    EXPECT_FALSE(settings.text(sort));
    EXPECT_FALSE(*store.session);
    EXPECT_FALSE(*store.lastAttempted);
    EXPECT_THAT(*store.keys, IsEmpty());
    EXPECT_THAT(*store.liveKeys, IsEmpty()) << "it belonged to the session that is gone";
    EXPECT_FALSE(*store.liveNamesAccountID);
    qtRun(store.add("Master", master.keyID, master.applicationKey));
    EXPECT_EQ(store.accountDisplayName(master.keyID), "Office");
}

TEST_F(KeyStoreChangesTest, AKeyThatCannotBeRemovedStaysWhole)
{
    connectMaster();
    keychain.isBroken = true;
    EXPECT_TRUE(errorOf(store.remove(stored(master.keyID))));
    EXPECT_TRUE(*store.session);
    EXPECT_EQ(store.keys->size(), 1U);
}

TEST_F(KeyStoreChangesTest, OnlyAKeyThatTheServiceRefusesIsRemoved)
{
    connectMaster();
    const auto working = createKey("working", {B2Capabilities::listBuckets});
    memory.add({working.key.applicationKeyID, "Working", master.keyID}, working.applicationKey);
    memory.add({"0044a1b2c3d4e5f0000000099", "Former", master.keyID}, "K004wrong");
    qtRun(store.reload());
    // The listing is older than the working key.
    ASSERT_EQ(store.revokedKeys().size(), 2U);

    const auto outcome = removeRevoked();

    EXPECT_EQ(outcome.done, 1);
    ASSERT_EQ(outcome.failures.size(), 1U);
    EXPECT_EQ(outcome.failures[0].sentence, "“Working” is not listed, but Backblaze still accepts it, so it was kept.");
    EXPECT_THAT(storedIDs(), Contains(working.key.applicationKeyID));
    EXPECT_THAT(logMessages(), Contains("Kept key Working"));
}

TEST_F(KeyStoreChangesTest, AKeyThatCannotBeCheckedIsKept)
{
    connectMaster();
    memory.add({"0044a1b2c3d4e5f0000000099", "Former", master.keyID}, "K004wrong");
    qtRun(store.reload());
    keychain.isBroken = true;

    const auto outcome = removeRevoked();

    EXPECT_EQ(outcome.done, 0);
    EXPECT_THAT(outcome.failures.at(0).sentence, HasSubstr("could not be found out, so it was kept."));

    keychain.isBroken = false;
    control("faults", R"({"kind": "status", "operation": "b2_authorize_account", "count": 1, "status": 401,
        "body": "<html>Sign in to the network</html>", "contentType": "text/html"})");
    EXPECT_EQ(removeRevoked().done, 0) << "that was a proxy";

    control("options", R"({"wrongKeyCode": "bad_auth_token"})");
    EXPECT_THAT(removeRevoked().failures, IsEmpty());
    EXPECT_THAT(storedIDs(), ElementsAre(master.keyID));
}

TEST_F(KeyStoreChangesTest, ARemovalOfRevokedKeysStopsBetweenThem)
{
    connectMaster();
    for (const auto* const id : {"0044a1b2c3d4e5f0000000097", "0044a1b2c3d4e5f0000000098", "0044a1b2c3d4e5f0000000099"})
        memory.add({id, "Former", master.keyID}, "K004wrong");
    qtRun(store.reload());
    control("faults", R"({"kind": "stall", "operation": "b2_authorize_account", "after": 1, "milliseconds": 60000})");
    const auto run = makeRevokedKeysRemoval(store, store.revokedKeys());
    run->start();
    ASSERT_TRUE(spinUntil([&] { return run->summary->done == 1; }));

    run->stop();

    ASSERT_TRUE(spinUntil([&] { return run->hasEnded(); }));
    EXPECT_EQ(run->summary->done, 1);
    EXPECT_EQ(storedIDs().size(), 3U) << "two of them and the one in use";
}

TEST_F(KeyStoreChangesTest, NamesAreTrimmedAndShownAtOnce)
{
    connectMaster();
    qtRun(store.rename(stored(master.keyID), "  Desk \n"));
    EXPECT_EQ((*store.session)->key->label, "Desk");
    EXPECT_THAT(logMessages(), Contains("Renamed a key to Desk"));
    qtRun(store.rename(stored(master.keyID), "  "));
    EXPECT_EQ(stored(master.keyID).label, "Desk");

    qtRun(store.renameAccount(master.keyID, "Home"));
    const auto entries = log.entries().size();
    qtRun(store.renameAccount(master.keyID, "Home"));
    EXPECT_EQ(log.entries().size(), entries) << "the same name is no change";
}

TEST_F(KeyStoreChangesTest, NamesOfAnEarlierVersionMoveOntoTheKeys)
{
    memory.add({"key-1", std::nullopt, std::nullopt}, "secret");
    memory.add({"key-2", std::nullopt, std::nullopt}, "secret");
    settings.setTexts(
        SettingsKeys::accountLabels, {{"key-1", "Laptop"}, {"key-2", "Unnamed key"}, {master.keyID, "Another name"}});
    settings.setTexts(SettingsKeys::keyLabels, {});

    qtRun(store.reload());

    EXPECT_EQ(stored("key-1").label, "Laptop");
    EXPECT_EQ(stored(master.keyID).label, "Master");
    EXPECT_EQ(qtRun(memory.label("key-2")), std::nullopt);
    EXPECT_THAT(settings.keys(), testing::Not(Contains(std::string(SettingsKeys::accountLabels))));
    EXPECT_EQ(log.entries().back().message, "Moved 1 key name into the Keychain");
    EXPECT_EQ(log.entries().back().detail,
        "3 held locally, 3 keys stored. Names now travel with the key itself rather than separately.");
}

TEST_F(KeyStoreChangesTest, AKeyRemovedElsewhereIsReportedWhileKeysAreShared)
{
    memory.add({"key-1", "Laptop", std::nullopt}, "secret");
    memory.add({"key-2", "Desk", std::nullopt}, "secret");
    qtRun(store.reload());
    settings.set(SettingsKeys::syncKeys, true);
    qtRun(memory.remove("key-1"));
    qtRun(memory.remove("key-2"));

    qtRun(store.reload());

    EXPECT_EQ(log.entries().back().message, "2 keys removed on another Mac");
    EXPECT_EQ(log.entries().back().detail, "Laptop and Desk. Removed from this Mac too, because the keys are shared.");
}

TEST_F(KeyStoreChangesTest, ASecondSessionIsThatOfTheFirstKeyThatCanDoIt)
{
    connectMaster();
    const auto other = service.masterKeys().at(1);
    const auto before = *store.session;
    EXPECT_THROW(qtRun(store.secondSession(other.keyID, {})), KeyStore::SecondSessionFailure);
    qtRun(store.add("Other master", other.keyID, other.applicationKey));
    const auto reader = createKey("reader", {B2Capabilities::listBuckets});
    memory.add({"0", "Reader", other.keyID}, "K004wrong");
    qtRun(store.addWithoutSwitching("Small", reader.key.applicationKeyID, reader.applicationKey));

    const auto session = qtRun(store.secondSession(other.keyID, {B2Capabilities::listFiles}));
    EXPECT_EQ(session->key->label, "Other master");
    EXPECT_NE(session, *store.session);
    EXPECT_THAT(logMessages(), Contains("Could not authorize with key Reader"));

    qtRun(store.remove(stored(other.keyID)));
    try {
        qtRun(store.secondSession(other.keyID, {B2Capabilities::writeFiles, B2Capabilities::listFiles}));
        FAIL();
    } catch (const KeyStore::SecondSessionFailure& failure) {
        EXPECT_EQ(std::string(failure.what()),
            "None of Kestrovan's keys for that account can do this. It needs listFiles, writeFiles. Tried: Small "
            "(lacks listFiles, writeFiles). Add that account's Master Application Key, or one with those permissions.");
    }
}
