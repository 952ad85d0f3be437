#pragma once

#include "keychain/Keychain.h"

#include <string>
#include <vector>

/// The outcome of moving keys from one store to another.
struct KeychainMove {
    std::vector<std::string> moved; ///< Names, or ids of keys without one.
    std::vector<std::string> kept;  ///< The same for those that stay where they were.
    std::string reason;             ///< Why the last of these stays, as a sentence.
    bool hasFailed = false;         ///< A store failed, so another attempt may move more.

    bool operator==(const KeychainMove&) const = default;
};

/// Moves every key with its secret, its name and its account's name. A key leaves its store only after the same
/// secret was read back from the other; a key that the other store holds with another secret stays.
///
/// Ends with the first failure of a store, which becomes the reason. Runs on the main thread; both stores outlive it.
/// @throws Keychain::Failure when the first store cannot be read; nothing has changed then.
Task<KeychainMove> moveKeys(Keychain& from, Keychain& to);
