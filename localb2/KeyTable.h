#pragma once

#include "localb2/Capabilities.h"
#include "localb2/Records.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace localb2 {

class Database;

struct Key {
    std::string id;
    std::string accountID;
    std::string secret;
    std::string name;
    Capabilities capabilities;
    std::optional<std::vector<std::string>> bucketIDs; ///< Unset: every bucket.
    std::string prefix;
    std::optional<Milliseconds> expires;
    bool isMaster = false;

    bool isMultiBucket() const { return bucketIDs && bucketIDs->size() > 1; }
};

/// Accounts with their master keys, and application keys.
class KeyTable {
public:
    explicit KeyTable(Database& database)
        : database_(database)
    {
    }

    /// Creates an account with a fresh id and master key.
    Account createAccount(std::string_view email);
    std::vector<Account> accounts() const;
    std::optional<Key> masterKey(std::string_view accountID) const;

    /// Assigns an id and a secret to a key that has none.
    void insert(Key& key);
    void erase(std::string_view id);
    std::optional<Key> byID(std::string_view id) const;
    /// Lists the keys other than master keys, by id from `startID` on.
    std::vector<Key> ofAccount(std::string_view accountID, std::string_view startID) const;

private:
    Database& database_;
};

} // namespace localb2
