#pragma once

#include "accounts/ConnectionFailure.h"
#include "accounts/StoredKey.h"
#include "accounts/switcher/KeySummary.h"

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// Why the stored keys are not available, so that it is unknown whether there are any.
struct UnreadKeys {
    std::string reason;     ///< A few words; empty while the first reading takes its time.
    std::string text;       ///< Sentences.
    bool canUnlock = false; ///< The passphrase of the file that keeps them would help.

    bool operator==(const UnreadKeys&) const = default;
};

/// The text at the top of the sidebar about the key in use.
struct KeySwitcherHeaderContent {
    std::optional<std::string> account;
    std::optional<std::string> regionTag;
    /// "No Key" without keys, "Not Connected" without a session, "Keys Not Read" when they cannot be read; empty
    /// before they were read.
    std::string keyLabel;
    std::optional<std::string> unreadReason; ///< Why they cannot be read, in a few words.
    std::optional<std::string> badge;        ///< What the key is limited to.
    std::optional<std::string> badgeHelp;
    bool notConnected = true;
    bool isConnecting = false;

    bool operator==(const KeySwitcherHeaderContent&) const = default;
};

/// The key in use, or the one that could not connect.
struct KeySwitcherCard {
    StoredKey key;
    std::string title;
    bool isMaster = false;
    std::optional<std::string> account;
    std::optional<std::string> region;
    std::optional<std::string> permits;
    std::optional<std::string> reaches;
    std::optional<std::string> expires;
    bool expiresSoon = false;
    bool isShared = false;
    std::optional<std::string> notConnected; ///< Why there is no session, or why the last switch failed.
    bool isConnecting = false;               ///< `notConnected` is about an attempt under way.
    bool canRetry = false;
    bool canShowInfo = false;

    bool operator==(const KeySwitcherCard&) const = default;
};

/// One of the other keys.
struct KeySwitcherRow {
    StoredKey key;
    std::string title;
    std::optional<std::string> subtitle;
    std::optional<std::string> expiryFlag; ///< Set for a key that expires soon.
    bool isMaster = false;
    bool isMissing = false; ///< The service no longer has the key.
    bool canShowInfo = false;

    bool operator==(const KeySwitcherRow&) const = default;
};

/// The other keys of one account.
struct KeySwitcherGroup {
    std::string id; ///< Account id; empty for keys whose account is not yet known.
    std::string title;
    std::vector<KeySwitcherRow> rows;

    bool operator==(const KeySwitcherGroup&) const = default;
};

/// The content of the popover.
struct KeySwitcherContent {
    std::optional<KeySwitcherCard> card;
    std::vector<KeySwitcherGroup> groups;
    std::size_t revokedCount = 0;
    bool hasKeys = false;
    std::optional<UnreadKeys> unread;

    bool operator==(const KeySwitcherContent&) const = default;
};

/// The commands of the switcher. Each is called on the main thread and returns at once.
struct KeySwitcherActions {
    std::function<void(StoredKey)> switchTo;
    std::function<void(StoredKey)> info;
    std::function<void(StoredKey)> rename;
    std::function<void(StoredKey)> remove;
    std::function<void()> removeRevoked;
    std::function<void()> addKey;
    std::function<void()> unlock; ///< Asks for the passphrase of the file that keeps the keys.
    std::function<void()> retry;
};

/// The state that the switcher shows.
struct KeySwitcherState {
    std::vector<StoredKey> keys;
    std::vector<StoredAccount> accounts;
    std::set<std::string> revokedKeyIDs;
    std::set<std::string> liveKeyIDs; ///< The keys that the session could list at the service.
    KeySummaries summaries;
    std::optional<StoredKey> sessionKey;
    std::optional<StoredKey> lastAttempted;
    std::optional<ConnectionFailure> failure;
    bool isStarted = false;
    bool isConnecting = false;
    bool isWaitingForUnlock = false;         ///< The desktop asks for the keyring's password.
    bool needsPassphrase = false;            ///< The file that keeps the keys is locked.
    std::optional<std::string> storeFailure; ///< Why the keys could not be read, as a sentence.
    std::optional<std::string> sharedKeyID;  ///< The current key, when it is shared with other computers.
    std::chrono::system_clock::time_point now;
};

KeySwitcherHeaderContent keySwitcherHeader(const KeySwitcherState& state);

/// The card, the other keys by account in the order of `accounts`, then those whose account is not yet known.
KeySwitcherContent keySwitcherContent(const KeySwitcherState& state);

/// Why the last switch failed while the session of `sessionKey` goes on, as a sentence.
std::string switchFailureText(
    const ConnectionFailure& failure, const StoredKey& attempted, const StoredKey& sessionKey);

/// "Remove 3 Keys Backblaze No Longer Has…"
std::string removeRevokedTitle(std::size_t count);
