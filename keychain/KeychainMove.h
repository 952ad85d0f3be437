#pragma once

#include "keychain/Keychain.h"

#include <string>
#include <vector>

/// What became of keys that were to go from one store into another.
struct KeychainMove {
    std::vector<std::string> moved; ///< Names, or ids of keys without one.
    std::vector<std::string> kept;  ///< The same of those that stay where they were.
    std::string reason;             ///< Why the last of them stays, as a sentence.
    bool hasFailed = false;         ///< A store did, so that another attempt may move more.

    bool operator==(const KeychainMove&) const = default;
};

/// Moves every key with its secret, its name and its account's name. A key leaves its store only after the other has
/// given the same secret back; one that the other store holds with another secret stays.
///
/// Ends with the first failure of a store, which is the reason then. Main thread; both stores outlive it.
/// @throws Keychain::Failure when the first store cannot be read; nothing has happened then.
Task<KeychainMove> moveKeys(Keychain& from, Keychain& to);
