#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Key.h"
#include "accounts/StoredKey.h"
#include "foundation/settings/Settings.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Facts about a key that are known without a connection.
struct KeySummary {
    using Date = std::chrono::sys_time<std::chrono::milliseconds>;

    std::vector<std::string> capabilities; ///< Sorted.
    std::vector<std::string> bucketNames;  ///< Those that are known.
    int bucketCount = 0;                   ///< 0 for a key that reaches every bucket.
    std::optional<std::string> namePrefix;
    std::optional<Date> expires;
    bool expiryKnown = false; ///< Without it an unset `expires` does not mean "never".
    std::optional<std::string> region;

    bool operator==(const KeySummary&) const = default;
};

/// By key id.
using KeySummaries = std::map<std::string, KeySummary>;

/// Names of buckets by their ids, as far as they are known.
using BucketNames = std::map<std::string, std::string>;

/// From the key's record in the account's listing, which knows buckets by their ids only.
KeySummary keySummary(
    const B2ApplicationKey& record, const BucketNames& bucketNames, const std::optional<std::string>& region);

/// From the key's own sign-in.
KeySummary keySummary(const B2Authorization& authorization);

/// Facts about the stored keys from a connection.
struct KeySummarySources {
    std::vector<StoredKey> keys;
    std::map<std::string, B2ApplicationKey> liveKeys; ///< Of the session's account; complete or empty.
    std::optional<std::string> sessionKeyID;
    std::optional<B2Authorization> authorization; ///< Of the session.
    BucketNames bucketNames;
};

/// Updates the summaries after a connection: new facts replace old ones, and keys no longer stored are dropped.
///
/// Without any stored key nothing is dropped: the list may not have been readable.
KeySummaries updatedSummaries(KeySummaries known, const KeySummarySources& sources);

/// Reads the summaries kept from earlier connections. Leaves out damaged entries and those of another form.
KeySummaries cachedSummaries(const Settings& settings);

/// Keeps the summaries for the next start.
void cacheSummaries(Settings& settings, const KeySummaries& summaries);
