#include "accounts/switcher/KeySwitcher.h"

#include "accounts/KeyNames.h"
#include "accounts/switcher/KeySummaryTexts.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

const KeySummary* summaryOf(const KeySwitcherState& state, const StoredKey& key)
{
    const auto summary = state.summaries.find(key.keyID);
    return summary == state.summaries.end() ? nullptr : &summary->second;
}

std::string accountName(const KeySwitcherState& state, const StoredKey& key)
{
    if (!key.accountID || key.accountID->empty())
        return std::string(unknownAccountName);
    const auto account = std::ranges::find(state.accounts, *key.accountID, &StoredAccount::accountID);
    return account == state.accounts.end() ? unnamedAccountName(*key.accountID) : account->name;
}

/// The key on the card: that of the session, else the one tried last.
const std::optional<StoredKey>& currentKey(const KeySwitcherState& state)
{
    return state.sessionKey ? state.sessionKey : state.lastAttempted;
}

/// A list that was read once can still be shown, whatever happened to the store since.
std::optional<UnreadKeys> unreadKeys(const KeySwitcherState& state)
{
    if (!state.keys.empty() || state.sessionKey)
        return std::nullopt;
    if (state.isWaitingForUnlock)
        return UnreadKeys{"The keyring is locked",
            "Your keys are in the desktop's keyring, which is locked. Answer its question to go on."};
    if (state.needsPassphrase)
        return UnreadKeys{"Locked with a passphrase",
            "The file that keeps your keys on this computer is locked with a passphrase. Unlock it to connect.", true};
    if (state.storeFailure)
        return UnreadKeys{"They could not be read", *state.storeFailure + " Nothing has been removed."};
    if (!state.isStarted)
        return UnreadKeys{{}, "Your keys are being read."};
    return std::nullopt;
}

std::optional<std::string> attemptText(const KeySwitcherState& state)
{
    const auto& attempted = state.lastAttempted;
    if (state.isConnecting)
        return state.sessionKey && attempted ? "Connecting with “" + attempted->label + "”…" : "Connecting…";
    if (state.failure) {
        if (state.sessionKey && attempted)
            return switchFailureText(*state.failure, *attempted, *state.sessionKey);
        return fmt::format("{}. {}", state.failure->title(), state.failure->message);
    }
    return state.sessionKey ? std::nullopt : std::optional<std::string>("Not Connected");
}

std::optional<KeySwitcherCard> cardOf(const KeySwitcherState& state)
{
    const auto& key = currentKey(state);
    if (!key)
        return std::nullopt;
    KeySwitcherCard card{.key = *key,
        .title = key->label,
        .isMaster = isMasterKey(*key),
        .account = accountName(state, *key),
        .isShared = state.sharedKeyID == key->keyID,
        .notConnected = attemptText(state),
        .isConnecting = state.isConnecting,
        .canRetry = !state.isConnecting && state.failure && state.lastAttempted && state.failure->canTryAgain(),
        .canShowInfo = state.liveKeyIDs.contains(key->keyID)};
    if (const KeySummary* const summary = summaryOf(state, *key)) {
        card.region = summary->region;
        card.permits = permitsText(*summary, card.isMaster);
        card.reaches = reachesText(*summary);
        card.expires = card.isMaster ? "Never" : expiresText(*summary, state.now);
        card.expiresSoon = expiresSoon(*summary, state.now);
    }
    return card;
}

KeySwitcherRow rowOf(const KeySwitcherState& state, const StoredKey& key)
{
    KeySwitcherRow row{.key = key,
        .title = key.label,
        .isMaster = isMasterKey(key),
        .isMissing = state.revokedKeyIDs.contains(key.keyID),
        .canShowInfo = state.liveKeyIDs.contains(key.keyID)};
    const KeySummary* const summary = summaryOf(state, key);
    if (row.isMissing)
        row.subtitle = "No longer at Backblaze";
    else if (row.isMaster)
        row.subtitle = "Master Application Key";
    else if (summary)
        row.subtitle = restrictionText(*summary, false);
    if (summary && !row.isMissing)
        row.expiryFlag = expiryFlag(*summary, state.now);
    return row;
}

} // namespace

KeySwitcherHeaderContent keySwitcherHeader(const KeySwitcherState& state)
{
    KeySwitcherHeaderContent header;
    header.notConnected = !state.sessionKey;
    header.isConnecting = state.isConnecting;
    if (const auto& key = currentKey(state))
        header.account = accountName(state, *key);
    if (!state.sessionKey) {
        if (const auto unread = unreadKeys(state)) {
            if (unread->reason.empty())
                return header;
            header.keyLabel = "Keys Not Read";
            header.unreadReason = unread->reason;
        } else {
            header.keyLabel = state.keys.empty() ? "No Key" : "Not Connected";
        }
        return header;
    }
    header.keyLabel = state.sessionKey->label;
    if (const KeySummary* const summary = summaryOf(state, *state.sessionKey)) {
        header.regionTag = summary->region;
        header.badge = restrictionText(*summary, isMasterKey(*state.sessionKey));
        if (header.badge)
            header.badgeHelp = abilityText(*summary);
    }
    return header;
}

KeySwitcherContent keySwitcherContent(const KeySwitcherState& state)
{
    KeySwitcherContent content{.card = cardOf(state),
        .revokedCount = state.revokedKeyIDs.size(),
        .hasKeys = !state.keys.empty(),
        .unread = unreadKeys(state)};
    const auto addGroup = [&](std::string id, std::string title, const std::vector<StoredKey>& keys) {
        KeySwitcherGroup group{.id = std::move(id), .title = std::move(title)};
        for (const auto& key : keys) {
            if (!content.card || content.card->key.keyID != key.keyID)
                group.rows.push_back(rowOf(state, key));
        }
        if (!group.rows.empty())
            content.groups.push_back(std::move(group));
    };
    for (const auto& account : state.accounts)
        addGroup(account.accountID, account.name, account.keys);
    std::vector<StoredKey> unknown;
    std::ranges::copy_if(state.keys, std::back_inserter(unknown),
        [](const StoredKey& key) { return !key.accountID || key.accountID->empty(); });
    addGroup({}, std::string(unknownAccountName), unknown);
    return content;
}

std::string switchFailureText(const ConnectionFailure& failure, const StoredKey& attempted, const StoredKey& sessionKey)
{
    if (attempted.keyID == sessionKey.keyID)
        return "Couldn't connect again with “" + attempted.label + "”. " + failure.message
            + " The earlier connection goes on.";
    return "Couldn't switch to “" + attempted.label + "”. " + failure.message + " Still connected with “"
        + sessionKey.label + "”.";
}

std::string removeRevokedTitle(std::size_t count)
{
    return fmt::format("Remove {} Key{} Backblaze No Longer Has…", count, count == 1 ? "" : "s");
}
