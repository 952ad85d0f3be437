#pragma once

#include "browser/BrowserEntries.h"

#include <chrono>
#include <compare>
#include <map>
#include <string>

/// Complete listings of folders, so that going back and forth makes no new call.
///
/// Lives on the main thread. Has no limit of size or age: an entry lives until a write, a refresh or the end of the
/// session removes it.
class ListingCache {
public:
    struct Key {
        std::string bucketID;
        std::string prefix;
        std::string mode; ///< "Current" or "All Versions".

        auto operator<=>(const Key&) const = default;
    };

    struct Entry {
        BrowserEntries files;
        std::chrono::system_clock::time_point fetchedAt;
    };

    /// Returns the entry, or null; valid until the next change.
    const Entry* entry(const Key& key) const;
    void store(Key key, BrowserEntries files, std::chrono::system_clock::time_point date);
    /// Forgets one folder, in both modes.
    void invalidate(const std::string& bucketID, const std::string& prefix);
    /// Forgets every folder of a bucket, in both modes.
    void invalidate(const std::string& bucketID);
    /// Forgets everything, at the end of a session.
    void clear() { entries_.clear(); }

private:
    std::map<Key, Entry> entries_;
};
