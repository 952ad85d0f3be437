#include "keychain/Keychain.h"

Task<> Keychain::probeOnce()
{
    co_return;
}

Task<bool> Keychain::isShared(std::string)
{
    co_return false;
}

namespace {

Task<std::optional<KeychainEntry>> entryOf(Keychain* keychain, std::string keyID)
{
    try {
        for (auto& entry : co_await keychain->entries()) {
            if (entry.keyID == keyID)
                co_return std::move(entry);
        }
    } catch (const Keychain::Failure&) {
    }
    co_return std::nullopt;
}

} // namespace

Task<std::optional<std::string>> Keychain::label(std::string keyID)
{
    auto entry = co_await entryOf(this, std::move(keyID));
    co_return entry ? std::move(entry->name) : std::nullopt;
}

Task<std::optional<std::string>> Keychain::accountID(std::string keyID)
{
    auto entry = co_await entryOf(this, std::move(keyID));
    co_return entry ? std::move(entry->accountID) : std::nullopt;
}

void Keychain::stopWaiting() {}

void Keychain::askAgain() {}

Task<> Keychain::unlockLegacyStore(Secret)
{
    co_return;
}

Task<> Keychain::setLegacyPassphrase(Secret, Secret)
{
    co_return;
}

std::string_view Keychain::place() const
{
    return *useLegacyStore ? "an encrypted file of your own" : usualPlace;
}

std::string legacyStoreNote(bool hasPassphrase)
{
    const std::string place =
        "This desktop has no keyring that Kestrovan can use, so it keeps your keys in an encrypted "
        "file. Only your user account can read that file. ";
    if (hasPassphrase)
        return place
            + "It opens with your passphrase. Kestrovan asks for it at each start and never stores it: without it, the "
              "stored keys are lost.";
    return place
        + "The key to that file is stored beside it, so any program that you run could read both. A passphrase "
          "protects your keys better: set one with “Protect Keys with a Passphrase…” in the Account menu. So does a "
          "keyring such as GNOME Keyring or KWallet.";
}
