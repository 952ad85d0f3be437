#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Bucket.h"

#include <optional>
#include <string>
#include <vector>

/// Which buckets a restricted key can be shown with. Functions of values.

/// The buckets a key names itself, for one that may not ask the service about them: only ids and names are known.
std::vector<B2Bucket> bucketsNamedBy(const B2Authorization& key);

/// Why the key can be shown no bucket at all; nothing when it may list them or names them itself.
std::optional<std::string> bucketListRefusal(const B2Authorization& key);

/// What an empty list of buckets means with this key.
std::string emptyBucketListText(const B2Authorization& key);
