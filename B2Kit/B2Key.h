#pragma once

#include "B2Kit/B2Capability.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// An application key as the service lists it.
struct B2ApplicationKey {
    std::string applicationKeyID;
    std::string keyName;
    std::string accountID;
    std::set<B2Capability> capabilities;
    std::optional<std::int64_t> expirationTimestamp; ///< Milliseconds since 1970.
    std::vector<std::string> bucketIDs;              ///< Empty for an account-wide key.
    std::optional<std::string> namePrefix;

    bool operator==(const B2ApplicationKey&) const = default;
};

/// A key just created. Its secret is never shown again.
struct B2CreatedApplicationKey {
    std::string applicationKey;
    B2ApplicationKey key;
    /// The answer to an earlier attempt was lost: it may have created another key of this name, with an unknown secret.
    bool mayHaveTwin = false;

    bool operator==(const B2CreatedApplicationKey&) const = default;

    /// Shows the key's id and never its secret.
    std::string description() const
    {
        return "B2CreatedApplicationKey(keyName: " + key.keyName + ", applicationKey: <redacted>)";
    }
};

struct B2KeysPage {
    std::vector<B2ApplicationKey> keys;
    std::optional<std::string> nextApplicationKeyID;

    bool operator==(const B2KeysPage&) const = default;
};
