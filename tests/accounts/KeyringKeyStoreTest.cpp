#include "B2Kit/B2CurlTransport.h"
#include "KeyringFixture.h"
#include "accounts/KeyStore.h"
#include "accounts/SystemKeychain.h"
#include "localb2/Service.h"

#include <QTemporaryDir>

using testing::IsEmpty;

namespace {

class KeyringKeyStoreTest : public KeyringFixture {
protected:
    /// What one run of the program has of its own.
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
    ClientFactory clients{
        std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}), std::make_shared<B2NullLogSink>(), service.url()};
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
    EXPECT_TRUE(*run.store.session) << "the session that stands goes on";
}
