// The half of the root that knows of stored keys: names, menu, what is said of them.

#include "B2Kit/wire/B2Text.h"
#include "accounts/KeyNames.h"
#include "foundation/Texts.h"
#include "shell/RootModel.h"

#include <algorithm>

namespace {

/// The record of a key that the service did not list, from what it said when the key signed in.
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

void RootModel::reloadKeys()
{
    tasks_.start(readKeys());
}

void RootModel::reloadKeysAskingAgain()
{
    keychain_.askAgain();
    reloadKeys();
}

Task<> RootModel::readKeys()
{
    const bool wasEmpty = keyStore.keys->empty();
    co_await keyStore.reload();
    if (wasEmpty && !*keyStore.session && !*keyStore.isConnecting)
        co_await connectFirst();
}

void RootModel::stopWaiting()
{
    keychain_.stopWaiting();
}

void RootModel::renameKey(StoredKey key, std::string name)
{
    tasks_.start(rename(std::move(key), std::move(name)));
}

void RootModel::renameAccount(std::string accountID, std::string name)
{
    tasks_.start(renameStored(std::move(accountID), std::move(name)));
}

Task<> RootModel::rename(StoredKey key, std::string name)
{
    const auto wanted = trimmed(name);
    co_await keyStore.rename(key, std::move(name));
    const auto stored = std::ranges::find(*keyStore.keys, key.keyID, &StoredKey::keyID);
    if (stored != keyStore.keys->end() && stored->label != wanted)
        remark = "“" + key.label + "” keeps its name: it could not be renamed. The activity log says why.";
}

Task<> RootModel::renameStored(std::string accountID, std::string name)
{
    const auto wanted = trimmed(name);
    const auto before = keyStore.accountDisplayName(accountID);
    co_await keyStore.renameAccount(accountID, std::move(name));
    if (keyStore.accountDisplayName(accountID) != wanted)
        remark = "“" + before + "” keeps its name: it could not be renamed. The activity log says why.";
}

bool RootModel::isCurrent(const StoredKey& key) const
{
    const auto session = *keyStore.session;
    return session && session->key->keyID == key.keyID;
}

std::optional<StoredKey> RootModel::keyInUse() const
{
    const auto session = *keyStore.session;
    return session ? std::optional(*session->key) : *keyStore.lastAttempted;
}

std::string RootModel::serviceName(const StoredKey& key) const
{
    const auto listed = keyStore.liveKeys->find(key.keyID);
    return listed == keyStore.liveKeys->end() ? std::string() : listed->second.keyName;
}

std::optional<KeyInspection> RootModel::inspection(const StoredKey& key) const
{
    KeyInspection inspection{.stored = key, .isCurrent = isCurrent(key), .isMaster = keyStore.isMaster(key)};
    if (const auto listed = keyStore.liveKeys->find(key.keyID); listed != keyStore.liveKeys->end()) {
        inspection.key = listed->second;
        inspection.backblazeName = listed->second.keyName;
        return inspection;
    }
    if (!inspection.isCurrent)
        return std::nullopt;
    inspection.key = recordOf((*keyStore.session)->authorization, key);
    inspection.describedBySignIn = true;
    return inspection;
}

std::optional<std::string> RootModel::connectedText() const
{
    const auto session = *keyStore.session;
    if (!session)
        return std::nullopt;
    return "Kestrovan is connected to “" + keyStore.accountDisplayName(session->authorization.accountID)
        + "” with the key “" + session->key->label + "”.";
}

std::optional<std::string> RootModel::switchFailure() const
{
    const auto& failure = *keyStore.connectionFailure;
    if (!*keyStore.session || !failure || !*keyStore.lastAttempted)
        return std::nullopt;
    return "Couldn't switch to “" + (*keyStore.lastAttempted)->label + "”. " + failure->message
        + " Still connected with “" + (*keyStore.session)->key->label + "”.";
}

std::optional<RootNotice> RootModel::notice() const
{
    using Action = RootNotice::Action;
    if (*keyStore.session && *keychain_.isWaitingForUnlock)
        return RootNotice{
            "Waiting for the keyring to unlock. Answer the desktop's question to go on.", Action::stopWaiting};
    if (const auto failure = switchFailure())
        return RootNotice{*failure, (*keyStore.connectionFailure)->canTryAgain() ? Action::tryAgain : Action::none};
    if (*remark)
        return RootNotice{**remark};
    if (*expiry_.notice)
        return RootNotice{**expiry_.notice};
    return std::nullopt;
}

void RootModel::dismissNotice()
{
    if (switchFailure())
        keyStore.connectionFailure = std::nullopt;
    else if (*remark)
        remark = std::nullopt;
    else
        expiry_.dismiss();
}

void RootModel::rebuildKeyMenu()
{
    accountGroups = keyStore.accountGroups();
    const auto revoked = keyStore.revokedKeyIDs();
    const auto& failure = *keyStore.connectionFailure;
    if (failure && failure->kind == ConnectionFailure::Kind::keyMissing && *keyStore.lastAttempted)
        keysWithoutSecret_.insert((*keyStore.lastAttempted)->keyID);
    // One that was removed may come back with its secret.
    std::erase_if(keysWithoutSecret_, [&](const std::string& keyID) {
        return std::ranges::find(*keyStore.keys, keyID, &StoredKey::keyID) == keyStore.keys->end();
    });
    std::vector<AppContext::KeyMenuEntry> entries;
    const auto add = [&](const StoredKey& key) {
        entries.push_back({key.keyID, key.label, keyStore.accountDisplayName(key.accountID),
            revoked.contains(key.keyID) || keysWithoutSecret_.contains(key.keyID)});
    };
    for (const auto& account : *accountGroups)
        std::ranges::for_each(account.keys, add);
    for (const auto& key : *keyStore.keys) {
        if (!key.accountID || key.accountID->empty())
            add(key);
    }
    context_.keyMenu = std::move(entries);
    const auto session = *keyStore.session;
    context_.currentKeyID = session ? std::optional(session->key->keyID) : std::nullopt;
}
