#include "keychain/KeychainMove.h"

namespace {

/// Moves one key. @returns why it stays; nothing when the other store alone has all of it.
Task<std::optional<std::string>> moveKey(Keychain* from, Keychain* to, KeychainEntry entry)
{
    const auto secret = co_await from->secret(entry.keyID);
    if (!secret)
        co_return "Its secret is missing.";
    const auto present = co_await to->secret(entry.keyID);
    if (present && !(*present == *secret))
        co_return "The keyring holds the same key with another secret.";
    if (!present) {
        co_await to->save(entry.keyID, secret->copy(), entry.name, entry.accountID);
        const auto stored = co_await to->secret(entry.keyID);
        if (!stored || !(*stored == *secret))
            co_return "The keyring accepted the key but does not return it.";
    } else {
        // A name that the keyring already has is kept.
        if (entry.name && !co_await to->label(entry.keyID))
            co_await to->setLabel(entry.keyID, *entry.name);
        if (entry.accountID && !co_await to->accountID(entry.keyID))
            co_await to->setAccountID(entry.keyID, *entry.accountID);
    }
    if (entry.accountID && !co_await to->accountName(*entry.accountID)) {
        if (auto name = co_await from->accountName(*entry.accountID))
            co_await to->setAccountName(*entry.accountID, std::move(*name));
    }
    co_await from->remove(entry.keyID);
    co_return std::nullopt;
}

} // namespace

Task<KeychainMove> moveKeys(Keychain& from, Keychain& to)
{
    KeychainMove move;
    for (const auto& entry : co_await from.entries()) {
        const std::string name = entry.name.value_or(entry.keyID);
        std::optional<std::string> reason = move.reason;
        if (!move.hasFailed) {
            try {
                reason = co_await moveKey(&from, &to, entry);
            } catch (const Keychain::Failure& failure) {
                move.hasFailed = true;
                reason = failure.what();
            }
        }
        (reason ? move.kept : move.moved).push_back(name);
        if (reason)
            move.reason = std::move(*reason);
    }
    co_return move;
}
