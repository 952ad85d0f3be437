#include "accounts/SystemKeychain.h"

SystemKeychain::SystemKeychain(Settings& settings, ActivityLog& log, const std::filesystem::path& directory)
    : keyring_(settings, log)
    , file_(directory, log)
{
    connect(&keyring_, &Observable::changed, this, [this] { isWaitingForUnlock = *keyring_.isWaitingForUnlock; });
    connect(&file_, &Observable::changed, this, [this] {
        needsPassphrase = *file_.needsPassphrase;
        hasPassphrase = *file_.hasPassphrase;
    });
}

Task<Keychain*> SystemKeychain::chosen()
{
    if (*useLegacyStore)
        co_return &file_;
    if (hasOpened_)
        co_return &keyring_;
    try {
        co_await keyring_.open();
        hasOpened_ = true;
    } catch (const Failure& failure) {
        if (failure.status != noSecretService)
            throw;
        useLegacyStore = true;
        co_return &file_;
    }
    co_return &keyring_;
}

Task<> SystemKeychain::probeOnce()
{
    try {
        // A session shows all that an item to and fro would, and leaves the keyring alone.
        co_await chosen();
    } catch (const Failure&) {
        // The first reading meets the same and says so.
    }
}

Task<std::vector<KeychainEntry>> SystemKeychain::entries()
{
    Keychain* const store = co_await chosen();
    co_return co_await store->entries();
}

Task<std::optional<Secret>> SystemKeychain::secret(std::string keyID)
{
    Keychain* const store = co_await chosen();
    co_return co_await store->secret(std::move(keyID));
}

Task<> SystemKeychain::save(
    std::string keyID, Secret secret, std::optional<std::string> label, std::optional<std::string> accountID)
{
    Keychain* const store = co_await chosen();
    co_await store->save(std::move(keyID), std::move(secret), std::move(label), std::move(accountID));
}

Task<> SystemKeychain::setLabel(std::string keyID, std::string label)
{
    Keychain* const store = co_await chosen();
    co_await store->setLabel(std::move(keyID), std::move(label));
}

Task<> SystemKeychain::setAccountID(std::string keyID, std::string accountID)
{
    Keychain* const store = co_await chosen();
    co_await store->setAccountID(std::move(keyID), std::move(accountID));
}

Task<> SystemKeychain::remove(std::string keyID)
{
    Keychain* const store = co_await chosen();
    co_await store->remove(std::move(keyID));
}

Task<std::optional<std::string>> SystemKeychain::accountName(std::string accountID)
{
    Keychain* const store = co_await chosen();
    co_return co_await store->accountName(std::move(accountID));
}

Task<> SystemKeychain::setAccountName(std::string accountID, std::string name)
{
    Keychain* const store = co_await chosen();
    co_await store->setAccountName(std::move(accountID), std::move(name));
}

Task<bool> SystemKeychain::isShared(std::string keyID)
{
    Keychain* const store = co_await chosen();
    co_return co_await store->isShared(std::move(keyID));
}

void SystemKeychain::stopWaiting()
{
    keyring_.stopWaiting();
}

void SystemKeychain::askAgain()
{
    keyring_.askAgain();
}

Task<> SystemKeychain::unlockLegacyStore(Secret passphrase)
{
    co_await file_.unlockLegacyStore(std::move(passphrase));
}

Task<> SystemKeychain::setLegacyPassphrase(Secret passphrase)
{
    co_await file_.setLegacyPassphrase(std::move(passphrase));
}
