#pragma once

#include "B2Kit/B2Log.h"
#include "keychain/Keychain.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One item of a secret store, without its secret.
struct KeychainItem {
    std::string service;                ///< What kind of item it is, one of the two below.
    std::string account;                ///< The id of a key, or of an account.
    std::optional<std::string> label;   ///< The user's name for it.
    std::optional<std::string> generic; ///< Of a key: the account it belongs to.
    bool isSynchronized = false;        ///< Shared with the user's other computers.

    bool operator==(const KeychainItem&) const = default;
};

inline constexpr std::string_view keyItemService = "com.zantro.kestrovan";
inline constexpr std::string_view accountItemService = "com.zantro.kestrovan.account";

/// Which items an operation means.
struct KeychainQuery {
    std::string service;
    std::optional<std::string> account; ///< Unset for all.
    std::optional<bool> isSynchronized; ///< Unset for shared items and local ones.

    bool operator==(const KeychainQuery&) const = default;
};

/// The keys among items, by id. Of several items of a key, a later one fills in what those before it lack.
std::vector<KeychainEntry> entriesOf(const std::vector<KeychainItem>& items);

/// What the log says of a reading.
///
/// @param store  "data protection" or "legacy".
/// @param scope  "synced" or "local this Mac".
B2LogEvent readingEvent(
    const std::vector<KeychainEntry>& entries, std::size_t rawItems, std::string_view store, std::string_view scope);
