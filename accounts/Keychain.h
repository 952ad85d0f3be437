#pragma once

#include "async/Task.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

/// A stored key as the secret store lists it, without its secret.
struct KeychainEntry {
    std::string keyID;
    std::optional<std::string> name;
    std::optional<std::string> accountID;

    bool operator==(const KeychainEntry&) const = default;
};

/// Where secrets live. An entry is the whole truth about a key: its secret, its name and its account.
///
/// Called on the main thread, which it never makes wait.
/// @throws std::exception whose text says why the store could not be read or written.
class Keychain {
public:
    virtual ~Keychain() = default;

    /// Every stored key, sorted by key id.
    virtual Task<std::vector<KeychainEntry>> entries() = 0;

    /// The secret half of a key, or nothing when the store holds none.
    virtual Task<std::optional<std::string>> secret(std::string keyID) = 0;

    // Writing to a key that is not stored does nothing.
    virtual Task<> setLabel(std::string keyID, std::string label) = 0;
    virtual Task<> setAccountID(std::string keyID, std::string accountID) = 0;

    /// The user's name for an account, or nothing when none is stored.
    virtual Task<std::optional<std::string>> accountName(std::string accountID) = 0;
    virtual Task<> setAccountName(std::string accountID, std::string name) = 0;
};
