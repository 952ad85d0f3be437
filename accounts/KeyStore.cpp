#include "accounts/KeyStore.h"

#include "B2Kit/calls/B2AccountKeys.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "accounts/KeyNames.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/settings/SettingsKeys.h"

#include <QLocale>
#include <QStringList>

#include <fmt/format.h>

#include <algorithm>

namespace {

std::string sentence(std::string text)
{
    if (!text.empty() && text.back() != '.')
        text += '.';
    return text;
}

} // namespace

KeyStore::KeyStore(Keychain& keychain, const ClientFactory& clients, Settings& settings, ActivityLog& log)
    : keychain_(keychain)
    , clients_(clients)
    , settings_(settings)
    , log_(log)
{
}

void KeyStore::record(B2LogLevel level, std::string_view category, std::string message, std::string detail)
{
    log_.record({level, std::string(category), std::move(message),
        detail.empty() ? std::nullopt : std::optional(std::move(detail))});
}

Task<> KeyStore::reload()
{
    const int number = ++startedReloads_;
    std::vector<StoredKey> read;
    std::map<std::string, std::string> names;
    try {
        co_await migrateLabels();
        for (auto& entry : co_await keychain_.entries()) {
            if (entry.accountID && !names.contains(*entry.accountID)) {
                if (auto name = co_await keychain_.accountName(*entry.accountID))
                    names.emplace(*entry.accountID, std::move(*name));
            }
            read.push_back({entry.keyID, entry.name.value_or(std::string(unnamedKeyLabel)), entry.accountID});
        }
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        record(B2LogLevel::error, "keys", "Could not read the stored keys",
            fmt::format("{} Showing the last known list; nothing has been removed.", sentence(error.what())));
        storeFailure = sentence(error.what());
        co_return;
    }
    if (number < appliedReload_)
        co_return;
    appliedReload_ = number;
    const auto before = *keys;
    storeFailure = std::nullopt;
    keys = std::move(read);
    accountNames = std::move(names);
    if (*session)
        (*session)->key = stored(*(*session)->key);
    if (*lastAttempted)
        lastAttempted = stored(**lastAttempted);
    noteRemovals(before);
}

void KeyStore::noteRemovals(const std::vector<StoredKey>& before)
{
    QStringList gone;
    for (const auto& key : before) {
        if (!isStored(key.keyID))
            gone.push_back(toQString(key.label));
    }
    if (gone.isEmpty() || !settings_.boolean(SettingsKeys::syncKeys).value_or(false))
        return;
    record(B2LogLevel::notice, "keys", countText(gone.size(), "key", "keys") + " removed on another Mac",
        fromQString(QLocale().createSeparatedList(gone)) + ". Removed from this Mac too, because the keys are shared.");
}

Task<> KeyStore::migrateLabels()
{
    const auto settingsKeys = settings_.keys();
    const auto has = [&](std::string_view name) { return std::ranges::find(settingsKeys, name) != settingsKeys.end(); };
    if (!has(SettingsKeys::keyLabels) && !has(SettingsKeys::accountLabels))
        co_return;
    const auto forget = [this] {
        settings_.remove(SettingsKeys::keyLabels);
        settings_.remove(SettingsKeys::accountLabels);
    };
    auto labels = settings_.texts(SettingsKeys::keyLabels);
    if (!labels || labels->empty())
        labels = settings_.texts(SettingsKeys::accountLabels);
    if (!labels || labels->empty()) {
        forget();
        record(B2LogLevel::info, "keys", "No key names left to move into the Keychain");
        co_return;
    }
    std::vector<KeychainEntry> entries;
    try {
        entries = co_await keychain_.entries();
    } catch (const Keychain::Failure&) {
        co_return; // The next reload tries again.
    }
    int moved = 0;
    for (const auto& entry : entries) {
        const auto label = labels->find(entry.keyID);
        if (entry.name || label == labels->end() || label->second == unnamedKeyLabel)
            continue;
        try {
            co_await keychain_.setLabel(entry.keyID, label->second);
        } catch (const Keychain::Failure& error) {
            record(B2LogLevel::warning, "keys", "Could not move a key name into the Keychain", error.what());
            co_return;
        }
        ++moved;
    }
    forget();
    record(B2LogLevel::info, "keys",
        moved > 0 ? fmt::format("Moved {} into the Keychain", countText(moved, "key name", "key names"))
                  : "Key names were already on their Keychain items",
        fmt::format("{} held locally, {} stored. Names now travel with the key itself rather than separately.",
            labels->size(), countText(static_cast<std::int64_t>(entries.size()), "key", "keys")));
}

Task<> KeyStore::connect(StoredKey key)
{
    const bool wasStored = isStored(key.keyID);
    ++runningAttempts_;
    isConnecting = true;
    connectionFailure = std::nullopt;
    lastAttempted = key;
    std::exception_ptr error;
    try {
        co_await openSession(key, wasStored);
    } catch (const Cancelled&) {
        isConnecting = --runningAttempts_ > 0;
        throw;
    } catch (...) {
        error = std::current_exception();
    }
    // A key removed in the meantime has nothing to report.
    if (error && (isStored(key.keyID) || !wasStored))
        fail(key, error);
    isConnecting = --runningAttempts_ > 0;
}

void KeyStore::replaceSession(std::shared_ptr<B2Session> next)
{
    session = std::move(next);
    Q_EMIT sessionReplaced();
}

void KeyStore::conclude(const StoredKey& key, std::optional<ConnectionFailure> failure)
{
    lastAttempted = key;
    connectionFailure = std::move(failure);
}

Task<> KeyStore::openSession(StoredKey key, bool wasStored)
{
    auto secret = co_await keychain_.secret(key.keyID);
    if (!secret) {
        if (wasStored && !isStored(key.keyID))
            co_return;
        conclude(key,
            ConnectionFailure{ConnectionFailure::Kind::keyMissing,
                fmt::format("Kestrovan has no stored secret for {}. Remove this key and add it again.",
                    shortKeyID(key.keyID))});
        co_return;
    }
    const auto client = clients_.makeClient({key.keyID, std::move(*secret)});
    const B2Authorization authorization = co_await client->authorized();

    // A failure to note the account never stops a connection.
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

    // A key removed in the meantime must not come back as the session.
    if (wasStored && !isStored(key.keyID))
        co_return;
    StoredKey current = stored(key);
    if (!current.accountID)
        current.accountID = authorization.accountID;
    conclude(current, std::nullopt);
    replaceSession(std::make_shared<B2Session>(current, client, authorization));
    co_await loadLiveKeyNames();
    log_.record({B2LogLevel::info, "auth",
        fmt::format("Connected with key {} - permits: {}", current.label,
            capabilityList(authorization.storage.allowed.capabilities)),
        {}});
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
    const auto row = std::ranges::find(*keys, keyID, &StoredKey::keyID);
    if (row == keys->end() || row->label != unnamedKeyLabel)
        co_return;
    const auto name = co_await nameAtService(keyID, authorization, std::move(client));
    if (!name)
        co_return;
    try {
        co_await keychain_.setLabel(keyID, *name);
    } catch (const Keychain::Failure&) {
        co_return;
    }
    co_await reload();
    record(B2LogLevel::info, "keys", fmt::format("Named this key {} from Backblaze", *name),
        "It had no name stored. Names come from the key's keyName in B2.");
}

Task<> KeyStore::retry()
{
    if (const auto key = *lastAttempted)
        co_await connect(*key);
}

Task<> KeyStore::loadLiveKeyNames()
{
    const auto current = *session;
    const int number = ++startedListings_;
    std::map<std::string, B2ApplicationKey> live;
    bool isComplete = false;
    if (current && current->may(B2Capabilities::listKeys)) {
        try {
            auto listed = allKeys(current->client);
            while (auto key = co_await listed.next())
                live.insert_or_assign(key->applicationKeyID, std::move(*key));
            // A cancelled listing ends early, which must not look like a short list.
            co_await checkCancelled();
            isComplete = true;
        } catch (const Cancelled&) {
            throw;
        } catch (const std::exception&) {
            // Without a complete listing no key may look revoked.
            live.clear();
        }
    }
    if (*session != current || number < appliedListing_)
        co_return;
    appliedListing_ = number;
    liveKeys = std::move(live);
    liveNamesAccountID = isComplete ? std::optional(current->authorization.accountID) : std::nullopt;
}

void KeyStore::useKeyListing(const std::shared_ptr<B2Session>& listedWith, const std::vector<B2ApplicationKey>& listed)
{
    if (!listedWith || *session != listedWith)
        return;
    // Outdates an earlier listing that is still on its way.
    appliedListing_ = ++startedListings_;
    std::map<std::string, B2ApplicationKey> live;
    for (const auto& key : listed)
        live.emplace(key.applicationKeyID, key);
    liveKeys = std::move(live);
    liveNamesAccountID = listedWith->authorization.accountID;
}

bool KeyStore::isMaster(const StoredKey& key) const
{
    return isMasterKey(key);
}

bool KeyStore::isRevoked(const StoredKey& key) const
{
    return key.accountID && !key.accountID->empty() && !isMasterKey(key) && *liveNamesAccountID == key.accountID
        && !liveKeys->contains(key.keyID);
}

std::vector<StoredKey> KeyStore::revokedKeys() const
{
    std::vector<StoredKey> revoked;
    std::ranges::copy_if(*keys, std::back_inserter(revoked), [this](const StoredKey& key) { return isRevoked(key); });
    return revoked;
}

std::set<std::string> KeyStore::revokedKeyIDs() const
{
    std::set<std::string> revoked;
    for (const auto& key : revokedKeys())
        revoked.insert(key.keyID);
    return revoked;
}

std::vector<StoredAccount> KeyStore::accountGroups() const
{
    return groupByAccount(*keys, *accountNames, revokedKeyIDs());
}

std::string KeyStore::accountDisplayName(const std::optional<std::string>& accountID) const
{
    if (!accountID || accountID->empty())
        return std::string(unknownAccountName);
    const auto name = accountNames->find(*accountID);
    return name == accountNames->end() ? unnamedAccountName(*accountID) : name->second;
}

void KeyStore::fail(const StoredKey& key, const std::exception_ptr& error)
{
    conclude(key, connectionFailureFrom(error));
    log_.record({B2LogLevel::error, "auth", "Could not connect with key " + key.label, (*connectionFailure)->message});
}

bool KeyStore::isStored(const std::string& keyID) const
{
    return std::ranges::find(*keys, keyID, &StoredKey::keyID) != keys->end();
}

StoredKey KeyStore::stored(const StoredKey& key) const
{
    const auto row = std::ranges::find(*keys, key.keyID, &StoredKey::keyID);
    return row == keys->end() ? key : *row;
}
