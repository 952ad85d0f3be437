#include "accounts/KeyStore.h"

#include "B2Kit/B2CurlTransport.h"
#include "accounts/MemoryKeychain.h"
#include "foundation/Settings.h"
#include "localb2/Service.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

using testing::Contains;
using testing::HasSubstr;

namespace {

/// A store that can be told to fail.
class FailingKeychain final : public Keychain {
public:
    explicit FailingKeychain(Keychain& inner)
        : inner_(inner)
    {
    }

    bool isBroken = false;

    Task<std::vector<KeychainEntry>> entries() override
    {
        check();
        return inner_.entries();
    }
    Task<std::optional<Secret>> secret(std::string keyID) override
    {
        check();
        return inner_.secret(std::move(keyID));
    }
    Task<> save(std::string keyID, Secret secret, std::optional<std::string> label,
        std::optional<std::string> accountID) override
    {
        check();
        return inner_.save(std::move(keyID), std::move(secret), std::move(label), std::move(accountID));
    }
    Task<> remove(std::string keyID) override
    {
        check();
        return inner_.remove(std::move(keyID));
    }
    Task<> setLabel(std::string keyID, std::string label) override { return inner_.setLabel(keyID, label); }
    Task<> setAccountID(std::string keyID, std::string accountID) override
    {
        return inner_.setAccountID(keyID, accountID);
    }
    Task<std::optional<std::string>> accountName(std::string accountID) override
    {
        return inner_.accountName(accountID);
    }
    Task<> setAccountName(std::string accountID, std::string name) override
    {
        return inner_.setAccountName(accountID, name);
    }

private:
    void check() const
    {
        if (isBroken)
            throw Failure(isLocked, "The keyring is locked");
    }

    Keychain& inner_;
};

class KeyStoreTest : public testing::Test {
protected:
    KeyStoreTest()
    {
        master = service.masterKey();
        memory.add({master.keyID, "Master", std::nullopt}, master.applicationKey);
    }

    StoredKey stored(const std::string& keyID)
    {
        for (const auto& key : *store.keys) {
            if (key.keyID == keyID)
                return key;
        }
        return {keyID, "missing", std::nullopt};
    }

    std::vector<std::string> logMessages() const
    {
        std::vector<std::string> messages;
        for (const auto& entry : log.entries())
            messages.push_back(entry.message);
        return messages;
    }

    QTemporaryDir directory;
    localb2::Service service{{.directory = directory.path().toStdString() + "/service", .seed = "demo"}};
    localb2::MasterKey master;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    MemoryKeychain memory;
    FailingKeychain keychain{memory};
    ClientFactory clients{
        std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}), std::make_shared<B2NullLogSink>(), service.url()};
    KeyStore store{keychain, clients, settings, log};
};

} // namespace

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

TEST_F(KeyStoreTest, AKeyWithoutANameTakesTheOneOfTheService)
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
