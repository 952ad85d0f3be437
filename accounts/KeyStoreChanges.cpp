#include "accounts/KeyStore.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/calls/B2AccountKeys.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/wire/B2Text.h"
#include "accounts/KeyNames.h"
#include "foundation/Texts.h"
#include "foundation/settings/SettingsKeys.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

/// Has the service itself refused the key? A 401 with another code, or without one as from a proxy, does not prove it.
bool isRefusalOfKey(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const B2Error& failure) {
        const auto* const api = failure.api();
        return api && api->status == 401 && (api->code == "unauthorized" || api->code == "bad_auth_token");
    } catch (...) {
        return false;
    }
}

/// Lists the store. One that cannot be opened still accepts new keys, because it sets its file aside.
Task<std::vector<KeychainEntry>> entriesBeforeAdding(Keychain* keychain)
{
    try {
        co_return co_await keychain->entries();
    } catch (const Keychain::Failure& failure) {
        if (failure.status != Keychain::Status::damaged)
            throw;
    }
    co_return std::vector<KeychainEntry>();
}

} // namespace

/// A key that the service has accepted and the secret store holds.
struct KeyStore::Accepted {
    std::string keyID;
    std::shared_ptr<B2Client> client;
    B2Authorization authorization;
};

KeyStore::AddFailure::AddFailure(const std::string& existingLabel)
    : std::runtime_error(fmt::format(
          "This key is already in Kestrovan, as “{}”. Remove it first if you want to replace it.", existingLabel))
{
}

Task<std::shared_ptr<const KeyStore::Accepted>> KeyStore::acceptAndStore(
    std::string label, std::string keyID, Secret applicationKey, Announcement announcement)
{
    const bool isLogged = announcement == Announcement::logged;
    keyID = trimmed(keyID);
    Secret secret = applicationKey.trimmed();
    for (const auto& entry : co_await entriesBeforeAdding(&keychain_)) {
        if (entry.keyID == keyID)
            throw AddFailure(entry.name.value_or(std::string(unnamedKeyLabel)));
    }
    const auto accepted = std::make_shared<Accepted>();
    accepted->keyID = keyID;
    accepted->client = clients_.makeClient({keyID, secret.copy()});
    if (isLogged)
        record(B2LogLevel::info, "auth", "Validating key " + keyID);
    accepted->authorization = co_await accepted->client->authorized();
    if (isLogged)
        record(B2LogLevel::notice, "auth", fmt::format("Key {} accepted", keyID),
            "Permits: " + capabilityList(accepted->authorization.storage.allowed.capabilities));

    std::optional<std::string> name = trimmed(label);
    if (name->empty())
        name = co_await nameAtService(keyID, accepted->authorization, accepted->client);
    co_await keychain_.save(keyID, std::move(secret), std::move(name), accepted->authorization.accountID);
    co_await reload();
    co_return accepted;
}

Task<> KeyStore::add(std::string label, std::string keyID, Secret applicationKey)
{
    const auto accepted =
        co_await acceptAndStore(std::move(label), std::move(keyID), std::move(applicationKey), Announcement::logged);
    const auto& accountID = accepted->authorization.accountID;
    connectionFailure = std::nullopt;
    replaceSession(std::make_shared<B2Session>(
        stored({accepted->keyID, std::string(unnamedKeyLabel), accountID}), accepted->client, accepted->authorization));
    co_await nameAccount(accepted->authorization);
    co_await loadLiveKeyNames();
}

Task<> KeyStore::addWithoutSwitching(std::string label, std::string keyID, Secret applicationKey)
{
    const auto accepted =
        co_await acceptAndStore(std::move(label), std::move(keyID), std::move(applicationKey), Announcement::quiet);
    const auto key = stored({accepted->keyID, std::string(unnamedKeyLabel), accepted->authorization.accountID});
    record(B2LogLevel::notice, "auth", fmt::format("Added key {} to Kestrovan", key.label),
        fmt::format("{} - permits: {}. Stored in the Keychain; not switched to.", key.keyID,
            capabilityList(accepted->authorization.storage.allowed.capabilities)));
    // The last listing may be older than the key, which would then look revoked.
    if (*liveNamesAccountID == key.accountID)
        co_await loadLiveKeyNames();
}

Task<std::optional<std::string>> KeyStore::nameAtService(
    std::string keyID, B2Authorization authorization, std::shared_ptr<B2Client> client)
{
    // The service lists every key but the master key, whose id is the account's.
    if (keyID == authorization.accountID)
        co_return std::nullopt;
    constexpr int pageSize = 100;
    try {
        auto listed = allKeys(client, pageSize);
        while (auto key = co_await listed.next()) {
            if (key->applicationKeyID == keyID)
                co_return key->keyName.empty() ? std::nullopt : std::optional(key->keyName);
        }
        co_await checkCancelled();
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        record(B2LogLevel::info, "auth", "Could not read the key's name from Backblaze",
            describe(std::current_exception()));
    }
    co_return std::nullopt;
}

Task<> KeyStore::remove(StoredKey key)
{
    co_await keychain_.remove(key.keyID);
    keys.update([&](auto& all) { std::erase_if(all, [&](const auto& each) { return each.keyID == key.keyID; }); });
    if (*lastAttempted && (*lastAttempted)->keyID == key.keyID) {
        lastAttempted = std::nullopt;
        connectionFailure = std::nullopt;
    }
    if (*session && (*session)->key->keyID == key.keyID) {
        liveKeys = std::map<std::string, B2ApplicationKey>();
        liveNamesAccountID = std::nullopt;
        replaceSession(nullptr);
    }
    co_await reload();
    const bool isLastOfAccount = key.accountID && !key.accountID->empty()
        && std::ranges::find(*keys, key.accountID, &StoredKey::accountID) == keys->end();
    if (isLastOfAccount)
        settings_.removePrefix(SettingsKeys::browserSortsOfAccount(*key.accountID));
}

Task<std::optional<std::string>> KeyStore::removeIfRevoked(StoredKey key)
{
    auto reason = co_await reasonToKeep(key);
    co_await checkCancelled();
    if (!reason) {
        try {
            co_await remove(key);
        } catch (const Keychain::Failure& error) {
            reason = fmt::format("“{}” could not be removed, so it was kept. {}", key.label, error.what());
        }
    }
    if (reason)
        record(B2LogLevel::notice, "keys", fmt::format("Kept key {}", key.label), *reason);
    co_return reason;
}

/// Returns why a key that looks revoked must be kept: only a refusal of that very key proves that it is.
Task<std::optional<std::string>> KeyStore::reasonToKeep(StoredKey key)
{
    std::exception_ptr error;
    try {
        auto secret = co_await keychain_.secret(key.keyID);
        if (!secret)
            co_return std::nullopt; // There is no secret to lose.
        const auto client = clients_.makeClient({key.keyID, std::move(*secret)});
        co_await client->authorized();
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        error = std::current_exception();
    }
    if (!error)
        co_return fmt::format("“{}” is not listed, but Backblaze still accepts it, so it was kept.", key.label);
    if (isRefusalOfKey(error))
        co_return std::nullopt;
    co_return fmt::format("Whether “{}” still works could not be found out, so it was kept. {}", key.label,
        connectionFailureFrom(error).message);
}

Task<bool> KeyStore::rename(StoredKey key, std::string name)
{
    name = trimmed(name);
    if (name.empty())
        co_return true;
    try {
        co_await keychain_.setLabel(key.keyID, name);
    } catch (const Keychain::Failure& error) {
        record(B2LogLevel::error, "keys", "Could not rename the key", error.what());
        co_return false;
    }
    co_await reload();
    record(B2LogLevel::notice, "keys", "Renamed a key to " + name,
        "Stored on the key itself, so it reaches your other Macs when key sync is on.");
    co_return true;
}

Task<bool> KeyStore::renameAccount(std::string accountID, std::string name)
{
    name = trimmed(name);
    if (name.empty())
        co_return true;
    try {
        if (co_await keychain_.accountName(accountID) == name)
            co_return true;
        co_await keychain_.setAccountName(accountID, name);
    } catch (const Keychain::Failure& error) {
        record(B2LogLevel::warning, "keys", "Could not rename the account", error.what());
        co_return false;
    }
    co_await reload();
    record(B2LogLevel::notice, "keys", "Renamed this account to " + name);
    co_return true;
}

std::string addKeyMessage(const std::exception_ptr& error, bool isKnown)
{
    try {
        std::rethrow_exception(error);
    } catch (const B2Error& failure) {
        if (const auto* api = failure.api()) {
            if (api->status == 401)
                return isKnown ? "Backblaze did not accept this key. Check the applicationKey and try again."
                               : "Backblaze did not accept this key. Check the keyID and the applicationKey, and try "
                                 "again.";
            if (api->isRetryable())
                return fmt::format(
                    "Backblaze returned {}. This is usually temporary, so try again in a moment.", api->status);
        }
        return failure.what();
    } catch (const B2TransportError& failure) {
        return fmt::format("Kestrovan could not reach Backblaze. {}", failure.what());
    } catch (...) {
        return describe(error);
    }
}
