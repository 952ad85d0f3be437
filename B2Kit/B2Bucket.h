#pragma once

#include "B2Kit/B2CORSRule.h"
#include "B2Kit/B2Replication.h"
#include "B2Kit/B2Retention.h"
#include "B2Kit/wire/B2OpenText.h"
#include "B2Kit/wire/B2Readable.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// The readers of a bucket: "allPublic", "allPrivate", "snapshot", "restricted", "shared" and future values.
struct B2BucketType : B2OpenText<struct B2BucketTypeTag> {
    using B2OpenText::B2OpenText;

    bool isPublic() const { return rawValue == "allPublic"; }
};

/// A rule by which a bucket hides and deletes the files under a prefix by itself.
struct B2LifecycleRule {
    std::string fileNamePrefix;
    std::optional<int> daysFromUploadingToHiding;
    std::optional<int> daysFromHidingToDeleting;
    std::optional<int> daysFromStartingToCancelingUnfinishedLargeFiles;

    bool operator==(const B2LifecycleRule&) const = default;
};

struct B2Bucket {
    std::string accountID;
    std::string bucketID;
    std::string bucketName;
    B2BucketType bucketType;
    std::map<std::string, std::string> bucketInfo;
    std::vector<B2LifecycleRule> lifecycleRules;
    int revision = 0;
    std::vector<B2CORSRule> corsRules;
    std::optional<B2Readable<B2FileLockConfiguration>> fileLock;
    std::optional<B2Readable<B2ServerSideEncryption>> defaultEncryption;
    std::optional<B2BucketReplication> replication;
    std::vector<std::string> options;

    bool operator==(const B2Bucket&) const = default;

    /// Can the S3-compatible API reach it? It cannot for buckets from before May 2020.
    bool isS3Enabled() const;

    /// A sentence about Object Lock for the settings, or nothing when it is off or was not reported.
    std::optional<std::string> fileLockSummary() const;

    /// The JSON keys that this record has fields for.
    static const std::set<std::string_view>& knownKeys();
};
