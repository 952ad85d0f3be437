#include "accounts/StoredKeys.h"

#include "accounts/KeyNames.h"
#include "accounts/switcher/KeySwitcher.h"
#include "foundation/settings/SettingsKeys.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace {

const std::string failedRenameID = "keys.rename";

/// The record of a key that the service did not list, from its answer to the sign-in.
B2ApplicationKey recordOf(const B2Authorization& authorization, const StoredKey& key)
{
    const auto& allowed = authorization.storage.allowed;
    B2ApplicationKey record{.applicationKeyID = key.keyID,
        .accountID = authorization.accountID,
        .capabilities = allowed.capabilities,
        .expirationTimestamp = authorization.applicationKeyExpirationTimestamp,
        .namePrefix = allowed.namePrefix};
    for (const auto& bucket : allowed.buckets)
        record.bucketIDs.push_back(bucket.id);
    return record;
}

} // namespace

StoredKeys::StoredKeys(KeyStore& store, Settings& settings, Notices& notices)
    : store_(store)
    , settings_(settings)
    , notices_(notices)
{
    connect(&store_, &KeyStore::sessionReplaced, this, &StoredKeys::followSession);
    connect(&store_, &Observable::changed, this, &StoredKeys::followStore);
    connect(&keychain(), &Observable::changed, this, &StoredKeys::followKeychain);
}

void StoredKeys::followSession()
{
    const auto session = *store_.session;
    if (!session)
        return;
    keysWithoutSecret_.erase(session->key->keyID);
    settings_.set(SettingsKeys::lastKeyID, session->key->keyID);
    if (!settings_.boolean(SettingsKeys::connectedWelcomeShown).value_or(false)) {
        settings_.set(SettingsKeys::connectedWelcomeShown, true);
        isShowingConnected = true;
    }
}

void StoredKeys::followStore()
{
    const auto& failure = *store_.connectionFailure;
    if (failure && failure->kind == ConnectionFailure::Kind::keyMissing && *store_.lastAttempted)
        keysWithoutSecret_.insert((*store_.lastAttempted)->keyID);
    // A key that was removed may come back with its secret.
    std::erase_if(keysWithoutSecret_, [&](const std::string& keyID) { return !store_.isStored(keyID); });
    markChanged();
}

void StoredKeys::followKeychain()
{
    const auto& remark = *keychain().remark;
    if (std::exchange(postedRemark_, remark) == remark)
        return;
    notices_.dismiss("keychain");
    if (remark)
        notices_.post({.id = "keychain", .kind = Notice::Kind::warning, .text = *remark});
}

void StoredKeys::dismissConnected()
{
    isShowingConnected = false;
}

Task<> StoredKeys::connectLastUsed()
{
    if (store_.keys->empty())
        co_return;
    const auto lastKeyID = settings_.text(SettingsKeys::lastKeyID);
    auto key = std::ranges::find_if(*store_.keys, [&](const StoredKey& stored) { return stored.keyID == lastKeyID; });
    if (key == store_.keys->end())
        key = store_.keys->begin();
    co_await store_.connect(*key);
}

void StoredKeys::reload()
{
    tasks_.start(runReload());
}

void StoredKeys::reloadAskingAgain()
{
    keychain().askAgain();
    reload();
}

Task<> StoredKeys::runReload()
{
    const bool wasEmpty = store_.keys->empty();
    co_await store_.reload();
    if (wasEmpty && !*store_.session && !*store_.isConnecting)
        co_await connectLastUsed();
}

void StoredKeys::stopWaiting()
{
    keychain().stopWaiting();
}

void StoredKeys::rename(StoredKey key, std::string name)
{
    tasks_.start(runRename(std::move(key), std::move(name)));
}

void StoredKeys::renameAccount(std::string accountID, std::string name)
{
    tasks_.start(runRenameAccount(std::move(accountID), std::move(name)));
}

Task<> StoredKeys::runRename(StoredKey key, std::string name)
{
    if (co_await store_.rename(key, std::move(name)))
        notices_.dismiss(failedRenameID);
    else
        postFailedRename(key.label);
}

Task<> StoredKeys::runRenameAccount(std::string accountID, std::string name)
{
    const auto before = store_.accountDisplayName(accountID);
    if (co_await store_.renameAccount(accountID, std::move(name)))
        notices_.dismiss(failedRenameID);
    else
        postFailedRename(before);
}

void StoredKeys::postFailedRename(const std::string& name)
{
    notices_.post({.id = failedRenameID,
        .kind = Notice::Kind::failure,
        .text = "“" + name + "” keeps its name: it could not be renamed. The activity log says why."});
}

Task<> StoredKeys::unlock(Secret passphrase)
{
    const QPointer<StoredKeys> self(this);
    co_await keychain().unlockLegacyStore(std::move(passphrase));
    if (self)
        reload();
}

Task<> StoredKeys::setPassphrase(Secret current, Secret next, PassphraseChange change)
{
    const QPointer<StoredKeys> self(this);
    co_await keychain().setLegacyPassphrase(std::move(current), std::move(next));
    if (self)
        notices_.post({.id = "keys.passphrase", .kind = Notice::Kind::success, .text = passphraseChangeText(change)});
}

std::optional<std::string> StoredKeys::currentKeyID() const
{
    const auto session = *store_.session;
    return session ? std::optional(session->key->keyID) : std::nullopt;
}

bool StoredKeys::isCurrent(const StoredKey& key) const
{
    return currentKeyID() == key.keyID;
}

std::optional<StoredKey> StoredKeys::keyInUse() const
{
    const auto session = *store_.session;
    return session ? std::optional(*session->key) : *store_.lastAttempted;
}

std::string StoredKeys::serviceName(const StoredKey& key) const
{
    const auto listed = store_.liveKeys->find(key.keyID);
    return listed == store_.liveKeys->end() ? std::string() : listed->second.keyName;
}

std::optional<KeyInspection> StoredKeys::inspection(const StoredKey& key) const
{
    KeyInspection inspection{.stored = key, .isCurrent = isCurrent(key), .isMaster = isMasterKey(key)};
    if (const auto listed = store_.liveKeys->find(key.keyID); listed != store_.liveKeys->end()) {
        inspection.key = listed->second;
        inspection.backblazeName = listed->second.keyName;
        return inspection;
    }
    if (!inspection.isCurrent)
        return std::nullopt;
    inspection.key = recordOf((*store_.session)->authorization, key);
    inspection.describedBySignIn = true;
    return inspection;
}

std::optional<std::string> StoredKeys::connectedText() const
{
    const auto session = *store_.session;
    if (!session)
        return std::nullopt;
    return "Kestrovan is connected to “" + store_.accountDisplayName(session->authorization.accountID)
        + "” with the key “" + session->key->label + "”.";
}

std::optional<std::string> StoredKeys::switchFailure() const
{
    const auto& failure = *store_.connectionFailure;
    if (!*store_.session || !failure || !*store_.lastAttempted)
        return std::nullopt;
    return switchFailureText(*failure, **store_.lastAttempted, *(*store_.session)->key);
}

void StoredKeys::dismissSwitchFailure()
{
    if (switchFailure())
        store_.connectionFailure = std::nullopt;
}

std::vector<KeyMenuEntry> StoredKeys::menu() const
{
    const auto revoked = store_.revokedKeyIDs();
    std::vector<KeyMenuEntry> entries;
    const auto add = [&](const StoredKey& key) {
        entries.push_back({key.keyID, key.label, store_.accountDisplayName(key.accountID),
            revoked.contains(key.keyID) || keysWithoutSecret_.contains(key.keyID)});
    };
    for (const auto& account : store_.accountGroups())
        std::ranges::for_each(account.keys, add);
    for (const auto& key : *store_.keys) {
        if (!key.accountID || key.accountID->empty())
            add(key);
    }
    return entries;
}

Task<> StoredKeys::shutDown()
{
    tasks_.cancelAll();
    co_await tasks_.drain();
}
