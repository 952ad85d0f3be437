#include "buckets/BucketReach.h"

#include <algorithm>

std::vector<B2Bucket> bucketsNamedBy(const B2Authorization& key)
{
    std::vector<B2Bucket> buckets;
    for (const auto& restriction : key.storage.allowed.buckets) {
        // A deleted bucket keeps its id in the key, without a name.
        if (restriction.name)
            buckets.push_back(
                {.accountID = key.accountID, .bucketID = restriction.id, .bucketName = *restriction.name});
    }
    return buckets;
}

std::optional<std::string> bucketListRefusal(const B2Authorization& key)
{
    if (key.storage.allowed.capabilities.contains(B2Capabilities::listBuckets) || !bucketsNamedBy(key).empty())
        return std::nullopt;
    return "This key cannot list buckets: it lacks listBuckets. Use a key that has it, or one that is limited to the "
           "buckets you need.";
}

std::string emptyBucketListText(const B2Authorization& key)
{
    const auto count = key.storage.allowed.buckets.size();
    if (count == 0)
        return "This key cannot see any buckets, or the account has none.";
    return count == 1 ? "The bucket this key is limited to no longer exists at Backblaze."
                      : "The buckets this key is limited to no longer exist at Backblaze.";
}
