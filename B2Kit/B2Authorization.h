#pragma once

#include "B2Kit/B2Capability.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The answer to `b2_authorize_account`: which account the key belongs to, what it may do and where its calls go.
struct B2Authorization {
    /// A bucket that a restricted key has access to.
    struct BucketRestriction {
        std::string id;
        std::optional<std::string> name; ///< Unset when the bucket no longer exists.

        bool operator==(const BucketRestriction&) const = default;
    };

    struct Allowed {
        std::set<B2Capability> capabilities;
        std::vector<BucketRestriction> buckets; ///< Empty for an account-wide key.
        std::optional<std::string> namePrefix;

        bool operator==(const Allowed&) const = default;
    };

    struct StorageAPI {
        std::string apiURL;
        std::string downloadURL;
        std::optional<std::string> s3URL;
        std::int64_t recommendedPartSize = 0;     ///< Bytes.
        std::int64_t absoluteMinimumPartSize = 0; ///< Bytes.
        Allowed allowed;

        bool operator==(const StorageAPI&) const = default;
    };

    std::string accountID;
    std::string authorizationToken;
    std::optional<std::int64_t> applicationKeyExpirationTimestamp; ///< Milliseconds since 1970.
    StorageAPI storage;

    bool operator==(const B2Authorization&) const = default;
};
