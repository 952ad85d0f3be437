#include "accounts/StoredKeys.h"

#include "foundation/settings/SettingsKeys.h"
#include "tests/accounts/KeyStoreFixture.h"

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class StoredKeysTest : public KeyStoreFixture {
protected:
    ~StoredKeysTest() override { qtRun(keys.shutDown()); }

    std::string noticeText(const std::string& id) const
    {
        const auto* const notice = notices.find(id);
        return notice ? notice->text : std::string();
    }

    Notices notices;
    StoredKeys keys{store, settings, notices};
};

TEST_F(StoredKeysTest, ARenameThatTheStoreRefusesIsReportedAndOfTwoAtOnceNeitherIsTakenForAFailure)
{
    connectMaster();
    const auto key = stored(master.keyID);
    const auto account = store.accountDisplayName(master.keyID);

    keys.rename(key, "First");
    keys.rename(key, " Second ");
    keys.renameAccount(master.keyID, "Studio");
    ASSERT_TRUE(spinUntil([&] { return store.accountDisplayName(master.keyID) == "Studio"; }));
    ASSERT_TRUE(spinUntil([&] { return stored(master.keyID).label == "Second"; }));
    EXPECT_THAT(*notices.all, IsEmpty());

    keychain.isBroken = true;
    keys.rename(stored(master.keyID), "Third");
    ASSERT_TRUE(spinUntil([&] { return !notices.all->empty(); }));
    EXPECT_EQ(
        noticeText("keys.rename"), "“Second” keeps its name: it could not be renamed. The activity log says why.");
    keys.renameAccount(master.keyID, "Laboratory");
    ASSERT_TRUE(spinUntil([&] { return noticeText("keys.rename").starts_with("“Studio”"); }));
    EXPECT_EQ(stored(master.keyID).label, "Second");
    EXPECT_NE(account, "Studio");
}

TEST_F(StoredKeysTest, AKeyStoredByAnotherProgramIsConnectedAndRemembered)
{
    qtRun(memory.remove(master.keyID));
    qtRun(store.reload());
    ASSERT_THAT(*store.keys, IsEmpty());

    memory.add({master.keyID, "Master", std::nullopt}, master.applicationKey);
    keys.reload();

    ASSERT_TRUE(spinUntil([&] { return *store.session != nullptr; }));
    EXPECT_EQ(settings.text(SettingsKeys::lastKeyID), master.keyID);
    EXPECT_TRUE(keys.isCurrent(stored(master.keyID)));
    EXPECT_EQ(keys.connectedText(),
        "Kestrovan is connected to “" + store.accountDisplayName(master.keyID) + "” with the key “Master”.");
    EXPECT_TRUE(*keys.isShowingConnected) << "it is the first connection";

    keys.dismissConnected();
    qtRun(store.connect(stored(master.keyID)));
    EXPECT_FALSE(*keys.isShowingConnected);
}

TEST_F(StoredKeysTest, TheMenuOffersNoKeyThatCannotConnect)
{
    connectMaster();
    memory.add({"0044a1b2c3d4e5f0000000099", "Empty", std::nullopt}, {});
    qtRun(store.reload());
    keychain.hiddenSecret = "0044a1b2c3d4e5f0000000099";

    qtRun(store.connect(stored("0044a1b2c3d4e5f0000000099")));
    ASSERT_TRUE(spinUntil([&] { return keys.menu().back().isDisabled; }));

    ASSERT_EQ(keys.menu().size(), 2U);
    EXPECT_EQ(keys.menu().front(), (KeyMenuEntry{master.keyID, "Master", store.accountDisplayName(master.keyID)}));
    EXPECT_EQ(keys.menu().back().account, "Account not yet known");
    EXPECT_THAT(keys.switchFailure().value_or(""), HasSubstr("Still connected with “Master”."));
    EXPECT_EQ(keys.keyInUse()->label, "Master");

    keys.dismissSwitchFailure();
    EXPECT_FALSE(keys.switchFailure());
    keychain.hiddenSecret.clear();
    qtRun(store.remove(stored("0044a1b2c3d4e5f0000000099")));
    memory.add({"0044a1b2c3d4e5f0000000099", "Empty", std::nullopt}, "K004some");
    spinUntil([&] { return keys.menu().size() == 1U; });
    qtRun(store.reload());
    EXPECT_FALSE(keys.menu().back().isDisabled) << "it came back with its secret";
}

} // namespace
