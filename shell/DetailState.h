#pragma once

#include "accounts/ConnectionFailure.h"
#include "accounts/StoredKey.h"

#include <optional>
#include <string>

/// What is selected in the sidebar.
struct SidebarItem {
    enum class Kind { bucket, keys, buckets, storage, search, migrations, replications };

    Kind kind = Kind::bucket;
    std::string bucketID; ///< Of a bucket.

    bool operator==(const SidebarItem&) const = default;
};

/// What the detail area is decided from.
struct DetailInputs {
    bool isStarted = false;
    bool isConnecting = false;
    bool hasSession = false;
    bool isLoadingBuckets = false;
    std::size_t bucketCount = 0;
    std::size_t keyCount = 0;
    std::optional<ConnectionFailure> failure;
    std::string attemptedLabel;              ///< Name of the key that was tried last; empty for none.
    std::optional<std::string> bucketsError; ///< Why the bucket list could not be read.
    std::optional<SidebarItem> selection;
    bool isSelectionListed = false; ///< The selected bucket is in the list.
};

/// What the detail area shows.
struct DetailState {
    enum class Kind {
        nothing, ///< Before the keys were read.
        connecting,
        notice, ///< A title, a text and what can be done.
        browser,
        keys,
    };

    Kind kind = Kind::nothing;
    ConnectionNotice notice;
    /// The notice is about the bucket list, so "Try Again" reads it again.
    bool isAboutBuckets = false;

    bool operator==(const DetailState&) const = default;
};

DetailState decideDetail(const DetailInputs& inputs);
