#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/KeyStore.h"
#include "accounts/keys/KeysModel.h"
#include "foundation/settings/SettingsKeys.h"
#include "keychain/SystemKeychain.h"
#include "localb2/Service.h"
#include "tests/keychain/KeyringFixture.h"

#include <QTemporaryDir>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class KeyringKeyStoreTest : public KeyringFixture {
protected:
    /// The state of one run of the program.
    struct Run {
        explicit Run(KeyringKeyStoreTest& test)
            : keychain(test.settings, test.log, home() / "data" / "kestrovan")
            , store(keychain, test.clients, test.settings, test.log)
        {
            qtRun(keychain.probeOnce());
            qtRun(store.reload());
        }

        SystemKeychain keychain;
        KeyStore store;
    };

    QTemporaryDir temporary;
    localb2::Service service{{.directory = temporary.path().toStdString() + "/service", .seed = "demo"}};
    localb2::MasterKey master = service.masterKey();
    ClientFactory clients{std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}),
        std::make_shared<ActivityLogSink>(log), service.url()};
};

} // namespace

TEST_F(KeyringKeyStoreTest, AnAddedKeyConnectsAtTheNextStartAndItsSecretIsNowhere)
{
    startKeyring(State::unlocked);
    {
        Run first(*this);
        EXPECT_THAT(*first.store.keys, IsEmpty());
        qtRun(first.store.add("Master", master.keyID, master.applicationKey));
        qtRun(first.store.rename(first.store.keys->at(0), "Desk"));
        qtRun(first.store.renameAccount(master.keyID, "Office"));
    }
    restartKeyring(State::unlocked);

    Run second(*this);
    ASSERT_EQ(*second.store.keys, (std::vector<StoredKey>{{master.keyID, "Desk", master.keyID}}));
    EXPECT_EQ(second.store.accountDisplayName(master.keyID), "Office");
    qtRun(second.store.connect(second.store.keys->at(0)));
    ASSERT_TRUE(*second.store.session);
    EXPECT_TRUE(log.flush(std::chrono::seconds(5)));
    EXPECT_TRUE(settings.flush(std::chrono::seconds(5)));
    EXPECT_THAT(placesOf(master.applicationKey), IsEmpty());

    qtRun(second.store.remove(second.store.keys->at(0)));
    EXPECT_FALSE(*second.store.session);
    EXPECT_THAT(*Run(*this).store.keys, IsEmpty());
}

TEST_F(KeyringKeyStoreTest, NoSecretIsLeftBehindWhateverHappensToTheKeyring)
{
    log.setMinimumLevel(B2LogLevel::debug);
    startKeyring(State::unlocked);
    Run run(*this);
    qtRun(run.store.add("Master", master.keyID, master.applicationKey));
    KeysModel model(log);
    model.reset(*run.store.session);
    ASSERT_TRUE(
        qtRun(model.create({.capabilities = {B2Capabilities::listBuckets}, .keyName = "canary"}, *run.store.session)));
    const auto made = **model.created;
    const StoredKey key{made.key.applicationKeyID, "Canary", made.key.accountID};
    qtRun(run.store.addWithoutSwitching(key.label, key.keyID, made.applicationKey));
    model.forgetCreated();
    settings.set(SettingsKeys::syncKeys, true);
    qtRun(run.keychain.save(key.keyID, made.applicationKey, std::nullopt, std::nullopt));
    EXPECT_TRUE(qtRun(run.keychain.isShared(key.keyID)));

    restartKeyring(State::locked);
    qtRun(run.store.connect(key));
    killKeyring();
    qtRun(run.store.connect(key));
    EXPECT_THROW(qtRun(run.store.addWithoutSwitching("Again", key.keyID, made.applicationKey)), Keychain::Failure);
    restartKeyring(State::unlocked);
    qtRun(run.store.connect(key));
    ASSERT_EQ((*run.store.session)->key->keyID, key.keyID);
    qtRun(run.store.connect({key.keyID + "0", "Wrong", std::nullopt}));
    QProcess child;
    child.start(QStringLiteral("env"), QStringList());
    ASSERT_TRUE(child.waitForFinished());
    const auto environment = child.readAllStandardOutput().toStdString();
    ASSERT_THAT(environment, HasSubstr("HOME="));
    qtRun(run.store.remove(key));

    EXPECT_TRUE(log.flush(std::chrono::seconds(5)));
    EXPECT_TRUE(settings.flush(std::chrono::seconds(5)));
    for (const auto& [keyID, secret] :
        {std::pair(master.keyID, master.applicationKey), std::pair(key.keyID, made.applicationKey)}) {
        const auto header = QByteArray::fromStdString(keyID + ":" + secret).toBase64().toStdString();
        for (const auto& text : {secret, header}) {
            EXPECT_THAT(placesOf(text), IsEmpty());
            EXPECT_THAT(environment, Not(HasSubstr(text)));
        }
    }
}

TEST_F(KeyringKeyStoreTest, ALockedKeyringLeavesTheListAndSaysWhy)
{
    startKeyring(State::unlocked);
    Run run(*this);
    qtRun(run.store.add("Master", master.keyID, master.applicationKey));
    restartKeyring(State::locked);

    qtRun(run.store.reload());

    EXPECT_EQ(run.store.keys->size(), 1U);
    EXPECT_EQ(*run.store.storeFailure,
        "The desktop's keyring was not unlocked, so your keys cannot be read or changed. Unlock it and try again.");
    qtRun(run.store.connect(run.store.keys->at(0)));
    EXPECT_EQ((*run.store.connectionFailure)->message, *run.store.storeFailure);
    EXPECT_TRUE(*run.store.session) << "the present session goes on";
}
