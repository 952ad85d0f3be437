#pragma once

#include "B2Kit/B2Log.h"
#include "keychain/Keychain.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One item of a secret store, without its secret.
struct KeychainItem {
    std::string service;                ///< The kind of item, one of the two below.
    std::string account;                ///< The id of a key, or of an account.
    std::optional<std::string> label;   ///< The user's name for it.
    std::optional<std::string> generic; ///< Of a key: the account it belongs to.
    bool isSynchronized = false;        ///< Shared with the user's other computers.

    bool operator==(const KeychainItem&) const = default;
};

inline constexpr std::string_view keyItemService = "com.zantro.kestrovan";
inline constexpr std::string_view accountItemService = "com.zantro.kestrovan.account";

/// Selects the items of an operation.
struct KeychainQuery {
    std::string service;
    std::optional<std::string> account; ///< Unset for all.
    std::optional<bool> isSynchronized; ///< Unset for shared items and local ones.

    bool operator==(const KeychainQuery&) const = default;
};

/// Returns the keys among items, by id. Where a key has several items, later ones fill in what earlier ones lack.
std::vector<KeychainEntry> entriesOf(const std::vector<KeychainItem>& items);

/// The log entry for a reading.
///
/// @param store  "data protection" or "legacy".
/// @param scope  "synced" or "local this Mac".
B2LogEvent readingEvent(
    const std::vector<KeychainEntry>& entries, std::size_t rawItems, std::string_view store, std::string_view scope);
