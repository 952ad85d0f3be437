#include "browser/ListingCache.h"

#include <utility>

const ListingCache::Entry* ListingCache::entry(const Key& key) const
{
    const auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second;
}

void ListingCache::store(Key key, BrowserEntries files, std::chrono::system_clock::time_point date)
{
    entries_.insert_or_assign(std::move(key), Entry{std::move(files), date});
}

void ListingCache::invalidate(const std::string& bucketID, const std::string& prefix)
{
    for (const auto mode : {BrowserMode::current, BrowserMode::allVersions})
        entries_.erase({bucketID, prefix, modeName(mode)});
}

void ListingCache::invalidate(const std::string& bucketID)
{
    std::erase_if(entries_, [&](const auto& entry) { return entry.first.bucketID == bucketID; });
}
