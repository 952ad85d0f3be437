#pragma once

#include <optional>
#include <string>
#include <vector>

/// A key the program holds; its secret stays in the secret store.
struct StoredKey {
    std::string keyID;
    std::string label;                    ///< The name shown; "Unnamed key" without one.
    std::optional<std::string> accountID; ///< Unknown until the key has connected once.

    bool operator==(const StoredKey&) const = default;
};

/// A stored key as a menu lists it.
struct KeyMenuEntry {
    std::string id;
    std::string title;
    std::string account;     ///< Display name; "Account not yet known" before the key has connected once.
    bool isDisabled = false; ///< The service no longer has the key, or no secret is stored.

    bool operator==(const KeyMenuEntry&) const = default;
};

/// The stored keys of one account.
struct StoredAccount {
    std::string accountID;
    std::string name;
    std::vector<StoredKey> keys;

    bool operator==(const StoredAccount&) const = default;
};
