#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Bucket.h"

#include <optional>
#include <string>
#include <vector>

/// The buckets that can be shown for a restricted key. Functions of values.

/// The buckets in a key's own restriction, for a key that may not list buckets: only ids and names are known.
std::vector<B2Bucket> bucketsNamedBy(const B2Authorization& key);

/// Why no bucket can be shown for the key; nothing when it may list them or names them itself.
std::optional<std::string> bucketListRefusal(const B2Authorization& key);

/// Explains an empty list of buckets for this key.
std::string emptyBucketListText(const B2Authorization& key);
