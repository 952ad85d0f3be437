#include "accounts/KeyStore.h"

#include "B2Kit/B2RetryPolicy.h"
#include "accounts/KeyNames.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace {

std::string capabilityList(const B2Authorization& authorization)
{
    std::vector<std::string> names;
    for (const auto& capability : authorization.storage.allowed.capabilities)
        names.push_back(capability.rawValue);
    std::ranges::sort(names);
    return fmt::format("{}", fmt::join(names, ", "));
}

} // namespace

KeyStore::KeyStore(Keychain& keychain, const ClientFactory& clients, Settings& settings, ActivityLog& log)
    : keychain_(keychain)
    , clients_(clients)
    , settings_(settings)
    , log_(log)
{
}

Task<> KeyStore::reload()
{
    std::vector<StoredKey> read;
    std::map<std::string, std::string> names;
    try {
        for (auto& entry : co_await keychain_.entries()) {
            if (entry.accountID && !names.contains(*entry.accountID)) {
                if (auto name = co_await keychain_.accountName(*entry.accountID))
                    names.emplace(*entry.accountID, std::move(*name));
            }
            read.push_back({entry.keyID, entry.name.value_or(std::string(unnamedKeyLabel)), entry.accountID});
        }
    } catch (const std::exception& error) {
        log_.record({B2LogLevel::error, "keys", "Could not read the stored keys",
            fmt::format("{}. Showing the last known list; nothing has been removed.", error.what())});
        co_return;
    }
    keys = std::move(read);
    accountNames = std::move(names);
    if (*session)
        (*session)->key = stored(*(*session)->key);
    if (*lastAttempted)
        lastAttempted = stored(**lastAttempted);
}

Task<> KeyStore::connect(StoredKey key)
{
    isConnecting = true;
    connectionFailure = std::nullopt;
    lastAttempted = key;
    std::exception_ptr error;
    try {
        co_await openSession(key);
    } catch (const Cancelled&) {
        isConnecting = false;
        throw;
    } catch (...) {
        error = std::current_exception();
    }
    if (error)
        fail(key, error);
    isConnecting = false;
}

Task<> KeyStore::openSession(StoredKey key)
{
    auto secret = co_await keychain_.secret(key.keyID);
    if (!secret) {
        connectionFailure = ConnectionFailure{ConnectionFailure::Kind::keyMissing,
            fmt::format(
                "Kestrovan has no stored secret for {}. Remove this key and add it again.", shortKeyID(key.keyID))};
        co_return;
    }
    const auto client = clients_.makeClient({key.keyID, std::move(*secret)});
    const B2Authorization authorization = co_await client->authorized();

    // What is noted in passing never stops a connection.
    if (!key.accountID) {
        try {
            co_await keychain_.setAccountID(key.keyID, authorization.accountID);
        } catch (const Cancelled&) {
            throw;
        } catch (const std::exception&) {
        }
        co_await reload();
        if (!stored(key).accountID)
            key.accountID = authorization.accountID;
    }
    co_await nameAccount(authorization);
    co_await nameKey(key.keyID, authorization, client);

    StoredKey current = stored(key);
    if (!current.accountID)
        current.accountID = authorization.accountID;
    session = std::make_shared<B2Session>(current, client, authorization);
    connectionFailure = std::nullopt;
    co_await loadLiveKeyNames();
    log_.record({B2LogLevel::info, "auth",
        fmt::format("Connected with key {} - permits: {}", current.label, capabilityList(authorization)), {}});
}

Task<> KeyStore::nameAccount(B2Authorization authorization)
{
    std::string name;
    try {
        if (co_await keychain_.accountName(authorization.accountID))
            co_return;
        name = defaultAccountName(authorization.accountID, authorization.storage.s3URL);
        co_await keychain_.setAccountName(authorization.accountID, name);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) {
        co_return;
    }
    log_.record({B2LogLevel::info, "keys", "Named this account " + name,
        authorization.accountID + ". Taken from the region it is in. Rename it to whatever you call it."});
    co_await reload();
}

Task<> KeyStore::nameKey(std::string keyID, B2Authorization authorization, std::shared_ptr<B2Client> client)
{
    // The service lists every key but the master key, whose id is the account's.
    if (keyID == authorization.accountID
        || !authorization.storage.allowed.capabilities.contains(B2Capabilities::listKeys))
        co_return;
    const auto row = std::ranges::find(*keys, keyID, &StoredKey::keyID);
    if (row == keys->end() || row->label != unnamedKeyLabel)
        co_return;
    std::string name;
    try {
        auto listed = client->allKeys();
        while (auto listedKey = co_await listed.next()) {
            if (listedKey->applicationKeyID == keyID) {
                name = listedKey->keyName;
                break;
            }
        }
        if (name.empty())
            co_return;
        co_await keychain_.setLabel(keyID, name);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        log_.record({B2LogLevel::info, "auth", "Could not read the key's name from Backblaze", error.what()});
        co_return;
    }
    co_await reload();
    log_.record({B2LogLevel::info, "keys", fmt::format("Named this key {} from Backblaze", name),
        "It had no name stored. Names come from the key's keyName in B2."});
}

Task<> KeyStore::retry()
{
    if (const auto key = *lastAttempted)
        co_await connect(*key);
}

Task<> KeyStore::loadLiveKeyNames()
{
    const auto current = *session;
    std::map<std::string, B2ApplicationKey> live;
    bool isComplete = false;
    if (current && current->may(B2Capabilities::listKeys)) {
        try {
            auto listed = current->client->allKeys();
            while (auto key = co_await listed.next())
                live.insert_or_assign(key->applicationKeyID, std::move(*key));
            isComplete = true;
        } catch (const Cancelled&) {
            throw;
        } catch (const std::exception&) {
            // Without a complete listing no key may look revoked.
            live.clear();
        }
    }
    if (*session != current)
        co_return;
    liveKeys = std::move(live);
    liveNamesAccountID = isComplete ? std::optional(current->authorization.accountID) : std::nullopt;
}

std::set<std::string> KeyStore::revokedKeyIDs() const
{
    std::set<std::string> revoked;
    for (const auto& key : *keys) {
        if (key.accountID && !key.accountID->empty() && !isMasterKey(key) && *liveNamesAccountID == key.accountID
            && !liveKeys->contains(key.keyID))
            revoked.insert(key.keyID);
    }
    return revoked;
}

std::vector<StoredAccount> KeyStore::accountGroups() const
{
    return groupByAccount(*keys, *accountNames, revokedKeyIDs());
}

std::string KeyStore::accountDisplayName(const std::optional<std::string>& accountID) const
{
    if (!accountID || accountID->empty())
        return "Account not yet known";
    const auto name = accountNames->find(*accountID);
    return name == accountNames->end() ? unnamedAccountName(*accountID) : name->second;
}

void KeyStore::fail(const StoredKey& key, const std::exception_ptr& error)
{
    connectionFailure = connectionFailureFrom(error);
    log_.record({B2LogLevel::error, "auth", "Could not connect with key " + key.label, (*connectionFailure)->message});
}

StoredKey KeyStore::stored(const StoredKey& key) const
{
    const auto row = std::ranges::find(*keys, key.keyID, &StoredKey::keyID);
    return row == keys->end() ? key : *row;
}
