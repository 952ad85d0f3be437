#include "foundation/settings/SettingsKeys.h"
#include "keychain/SecretServiceKeychain.h"
#include "keychain/SystemKeychain.h"
#include "tests/keychain/KeyringFixture.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class SecretServiceTest : public KeyringFixture {
protected:
    SecretServiceTest() { log.setMinimumLevel(B2LogLevel::debug); }

    std::unique_ptr<SecretServiceKeychain> makeKeychain()
    {
        return std::make_unique<SecretServiceKeychain>(settings, log, 1s);
    }

    std::optional<std::string> secretOf(Keychain& keychain, const std::string& keyID)
    {
        const auto secret = qtRun(keychain.secret(keyID));
        return secret ? std::optional(std::string(secret->reveal())) : std::nullopt;
    }
};

} // namespace

TEST_F(SecretServiceTest, AKeyStaysCompleteAcrossChangesAndRestarts)
{
    startKeyring(State::unlocked);
    auto keychain = makeKeychain();
    qtRun(keychain->save("key-2", "the first secret", std::nullopt, std::nullopt));
    EXPECT_THAT(qtRun(keychain->entries()), ElementsAre(KeychainEntry{"key-2", {}, {}}));

    qtRun(keychain->setLabel("key-2", "Laptop"));
    qtRun(keychain->setAccountID("key-2", "account-1"));
    qtRun(keychain->save("key-2", canary, std::nullopt, std::nullopt));
    qtRun(keychain->save("key-1", "other", "Other", "account-2"));
    qtRun(keychain->setAccountName("account-1", " Work "));
    qtRun(keychain->setAccountName("account-1", "Office"));
    qtRun(keychain->setLabel("key-3", "not stored"));
    const KeychainEntry first{"key-1", "Other", "account-2"};
    const KeychainEntry second{"key-2", "Laptop", "account-1"};
    EXPECT_THAT(qtRun(keychain->entries()), ElementsAre(first, second));

    restartKeyring(State::unlocked);
    EXPECT_THAT(qtRun(keychain->entries()), ElementsAre(first, second)) << "the same program goes on";
    keychain = makeKeychain();
    EXPECT_THAT(qtRun(keychain->entries()), ElementsAre(first, second));
    EXPECT_EQ(secretOf(*keychain, "key-2"), canary);
    EXPECT_EQ(secretOf(*keychain, "key-3"), std::nullopt);
    EXPECT_EQ(qtRun(keychain->label("key-2")), "Laptop");
    EXPECT_THAT(log.entries().back().formatted(), HasSubstr("2 named, raw items: 2. key-1=Other@account-2"));

    qtRun(keychain->remove("key-2"));
    qtRun(keychain->remove("key-2"));
    EXPECT_THAT(qtRun(keychain->entries()), ElementsAre(first));
    EXPECT_EQ(qtRun(keychain->accountName("account-1")), "Office");
    EXPECT_TRUE(log.flush(5s));
    EXPECT_THAT(placesOf(canary), IsEmpty());
}

TEST_F(SecretServiceTest, ASharedKeyIsSeenOnlyWhileKeysAreShared)
{
    startKeyring(State::unlocked);
    const auto keychain = makeKeychain();
    settings.set(SettingsKeys::syncKeys, true);
    qtRun(keychain->save("key-1", "secret", "Shared", "account-1"));
    EXPECT_TRUE(qtRun(keychain->isShared("key-1")));

    settings.set(SettingsKeys::syncKeys, false);
    EXPECT_FALSE(qtRun(keychain->isShared("key-1")));
    EXPECT_THAT(qtRun(keychain->entries()), IsEmpty());

    qtRun(keychain->save("key-1", "newer secret", std::nullopt, std::nullopt));
    EXPECT_THAT(qtRun(keychain->entries()), ElementsAre(KeychainEntry{"key-1", "Shared", "account-1"}));
    settings.set(SettingsKeys::syncKeys, true);
    EXPECT_FALSE(qtRun(keychain->isShared("key-1"))) << "the local item took its place";
    EXPECT_EQ(secretOf(*keychain, "key-1"), "newer secret");
}

TEST_F(SecretServiceTest, ALockedKeyringIsAwaitedUntilTheUserCancels)
{
    startKeyring(State::unlocked);
    qtRun(makeKeychain()->save("key-1", canary, "Laptop", std::nullopt));
    restartKeyring(State::locked);
    SilentPrompter prompter;
    const auto keychain = makeKeychain();
    std::exception_ptr error;
    auto read = [](Keychain* asked) -> Task<> { co_await asked->entries(); };
    spawn(MainExecutor::shared(), read(keychain.get()), [&](const std::exception_ptr& failure) { error = failure; });

    ASSERT_TRUE(spinUntil([&] { return *keychain->isWaitingForUnlock; }));
    // Longer than any call may take: waiting for the user does not count.
    spinUntil([&] { return error != nullptr; }, 2s);
    EXPECT_TRUE(*keychain->isWaitingForUnlock);
    EXPECT_FALSE(error);

    keychain->stopWaiting();
    ASSERT_TRUE(spinUntil([&] { return error && !*keychain->isWaitingForUnlock; }, 1s));
    try {
        std::rethrow_exception(error);
    } catch (const Keychain::Failure& failure) {
        EXPECT_EQ(failure.status, Keychain::Status::dismissed);
        EXPECT_THAT(failure.what(), HasSubstr("was not unlocked"));
    }
    const int questions = prompter.questions;
    // Some keyrings stop when their question is withdrawn; in either case reading does not ask a second one.
    EXPECT_TRUE(statusOf(keychain->entries()));
    EXPECT_EQ(prompter.questions, questions);
    EXPECT_FALSE(*keychain->isWaitingForUnlock);

    restartKeyring(State::locked);
    keychain->askAgain();
    error = nullptr;
    spawn(MainExecutor::shared(), read(keychain.get()), [&](const std::exception_ptr& failure) { error = failure; });
    EXPECT_TRUE(spinUntil([&] { return prompter.questions > questions; })) << "a user who tries again is asked";
    keychain->stopWaiting();
    EXPECT_TRUE(spinUntil([&] { return error != nullptr; }));

    restartKeyring(State::unlocked);
    EXPECT_EQ(qtRun(keychain->entries()).size(), 1U);
}

TEST_F(SecretServiceTest, ADismissedQuestionNeverStoresSecretsElsewhere)
{
    startKeyring(State::unlocked);
    qtRun(makeKeychain()->save("key-1", canary, "Laptop", std::nullopt));
    restartKeyring(State::locked);
    SystemKeychain keychain(settings, log, home() / "data" / "kestrovan");

    qtRun(keychain.probeOnce());
    EXPECT_EQ(statusOf(keychain.entries()), Keychain::Status::dismissed);
    EXPECT_EQ(statusOf(keychain.save("key-2", canary, "Second", std::nullopt)), Keychain::Status::dismissed);

    EXPECT_FALSE(*keychain.useLegacyStore);
    EXPECT_FALSE(*keychain.isWaitingForUnlock);
    EXPECT_FALSE(std::filesystem::exists(home() / "data" / "kestrovan"));
}

TEST_F(SecretServiceTest, WithoutAKeyringAnEncryptedFileServesForTheWholeRun)
{
    SystemKeychain keychain(settings, log, home() / "data" / "kestrovan");
    qtRun(keychain.probeOnce());
    EXPECT_TRUE(*keychain.useLegacyStore);
    qtRun(keychain.save("key-1", canary, "Laptop", "account-1"));

    startKeyring(State::unlocked);
    EXPECT_THAT(qtRun(keychain.entries()), ElementsAre(KeychainEntry{"key-1", "Laptop", "account-1"}));
    EXPECT_EQ(secretOf(keychain, "key-1"), canary);
    EXPECT_FALSE(qtRun(keychain.isShared("key-1")));
    EXPECT_THAT(placesOf(canary), IsEmpty());
}

TEST_F(SecretServiceTest, AKeyringThatComesLaterTakesOverTheFile)
{
    const auto directory = home() / "data" / "kestrovan";
    FileKeychain file(directory, log);
    qtRun(file.save("key-1", canary, "Laptop", "account-1"));
    qtRun(file.save("key-2", "other", "Desk", std::nullopt));
    qtRun(file.save("key-3", "third", "Named here", "account-1"));
    qtRun(file.setAccountName("account-1", "Office"));
    startKeyring(State::unlocked);
    qtRun(makeKeychain()->save("key-2", "not the same", "Elsewhere", std::nullopt));
    qtRun(makeKeychain()->save("key-3", "third", std::nullopt, std::nullopt));
    restartKeyring(State::locked);
    SystemKeychain keychain(settings, log, directory);
    qtRun(keychain.probeOnce());
    EXPECT_THROW(qtRun(keychain.entries()), Keychain::Failure);
    EXPECT_EQ(secretOf(file, "key-1"), canary);
    restartKeyring(State::unlocked);

    EXPECT_THAT(qtRun(keychain.entries()),
        ElementsAre(KeychainEntry{"key-1", "Laptop", "account-1"}, KeychainEntry{"key-2", "Elsewhere", {}},
            KeychainEntry{"key-3", "Named here", "account-1"}));
    EXPECT_EQ(secretOf(keychain, "key-1"), canary);
    EXPECT_EQ(qtRun(keychain.accountName("account-1")), "Office");
    EXPECT_EQ(secretOf(file, "key-1"), std::nullopt);
    EXPECT_EQ(secretOf(file, "key-2"), "other") << "nobody knows which of the two is right";
    EXPECT_THAT(keychain.remark->value_or(""), HasSubstr("1 key could not be moved"));
    EXPECT_FALSE(*keychain.useLegacyStore);
}

TEST_F(SecretServiceTest, AFileWithAPassphraseIsNamedAndKept)
{
    const auto directory = home() / "data" / "kestrovan";
    FileKeychain file(directory, log);
    qtRun(file.save("key-1", canary, "Laptop", std::nullopt));
    qtRun(file.setLegacyPassphrase({}, "passphrase"));
    startKeyring(State::unlocked);

    SystemKeychain keychain(settings, log, directory);
    EXPECT_THAT(qtRun(keychain.entries()), IsEmpty());

    EXPECT_THAT(keychain.remark->value_or(""), HasSubstr((directory / "keys.box").string()));
    EXPECT_FALSE(*keychain.needsPassphrase) << "nobody is asked for it";
    EXPECT_EQ(secretOf(file, "key-1"), canary);
}

TEST_F(SecretServiceTest, AFileWithoutItsKeyFileIsNamedAndTakenOverOnceThatIsBack)
{
    const auto directory = home() / "data" / "kestrovan";
    FileKeychain file(directory, log);
    qtRun(file.save("key-1", canary, "Laptop", std::nullopt));
    std::filesystem::rename(directory / "keys.key", directory / "elsewhere");
    startKeyring(State::unlocked);
    SystemKeychain keychain(settings, log, directory);
    for (int reading = 0; reading < 2; ++reading) {
        EXPECT_THAT(qtRun(keychain.entries()), IsEmpty());
        EXPECT_THAT(keychain.remark->value_or(""), HasSubstr("“keys.key” in the same folder, is missing"));
    }

    std::filesystem::rename(directory / "elsewhere", directory / "keys.key");
    EXPECT_THAT(qtRun(keychain.entries()), SizeIs(1));
    EXPECT_EQ(secretOf(keychain, "key-1"), canary);
    EXPECT_FALSE(*keychain.remark) << "it no longer applies";
}

TEST_F(SecretServiceTest, AKeyringThatHangsFreezesNothing)
{
    startKeyring(State::unlocked);
    const auto keychain = makeKeychain();
    qtRun(keychain->save("key-1", canary, "Laptop", std::nullopt));
    signalKeyring(SIGSTOP);
    longestStall = {};
    QElapsedTimer timer;
    timer.start();

    EXPECT_EQ(statusOf(keychain->secret("key-1")), Keychain::Status::tooSlow);

    EXPECT_LT(timer.elapsed(), 3000);
    EXPECT_LT(longestStall, 500ms);
    EXPECT_THAT(sentence, HasSubstr("did not answer in time"));
    signalKeyring(SIGCONT);
    EXPECT_EQ(secretOf(*keychain, "key-1"), canary);
}

TEST_F(SecretServiceTest, AKeyringKilledDuringACallLosesNothing)
{
    startKeyring(State::unlocked);
    SystemKeychain keychain(settings, log, home() / "data" / "kestrovan");
    qtRun(keychain.save("key-1", canary, "Laptop", std::nullopt));
    signalKeyring(SIGSTOP);
    QTimer::singleShot(300ms, &keychain, [this] { signalKeyring(SIGKILL); });

    EXPECT_EQ(
        statusOf(keychain.save("key-1", "another secret", "Renamed", std::nullopt)), Keychain::Status::serviceEnded);
    keyring.waitForFinished();
    EXPECT_EQ(statusOf(keychain.entries()), Keychain::Status::serviceEnded) << "stopped is not the same as never there";
    EXPECT_FALSE(*keychain.useLegacyStore);

    startKeyring(State::unlocked);
    EXPECT_THAT(qtRun(keychain.entries()), ElementsAre(KeychainEntry{"key-1", "Laptop", {}}));
    EXPECT_EQ(secretOf(keychain, "key-1"), canary);
}

TEST_F(SecretServiceTest, AWaitForTheKeyringCanBeCancelledAtOnce)
{
    startKeyring(State::unlocked);
    const auto keychain = makeKeychain();
    qtRun(keychain->open());
    signalKeyring(SIGSTOP);
    bool isCancelled = false;
    auto read = [](Keychain* asked) -> Task<> { co_await asked->entries(); };
    auto reading = spawn(MainExecutor::shared(), read(keychain.get()), [&](const std::exception_ptr& error) {
        try {
            std::rethrow_exception(error);
        } catch (const Cancelled&) {
            isCancelled = true;
        } catch (...) {
        }
    });
    spinUntil([] { return false; }, 100ms);

    reading.cancel();

    EXPECT_TRUE(spinUntil([&] { return isCancelled; }, 300ms));
}
