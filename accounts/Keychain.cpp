#include "accounts/Keychain.h"

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

Task<> Keychain::setLegacyPassphrase(Secret)
{
    co_return;
}

std::string_view Keychain::place() const
{
    return *useLegacyStore ? "an encrypted file of your own" : usualPlace;
}

std::string legacyStoreNote(bool hasPassphrase)
{
    const std::string place = "This desktop has no keyring that Kestrovan could use, so keys are kept in an encrypted "
                              "file that only your user account can read. ";
    if (hasPassphrase)
        return place
            + "The file opens with your passphrase, which is stored nowhere: Kestrovan asks for it at each start, and "
              "without it the stored keys are lost.";
    return place
        + "Without a passphrase, what opens the file lies beside it: the encryption then protects the file alone, in a "
          "copy or a backup without its neighbour, and not against other programs you run. Set a passphrase, or "
          "install a keyring such as GNOME Keyring or KWallet, for more.";
}
