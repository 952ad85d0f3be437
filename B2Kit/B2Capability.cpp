#include "B2Kit/B2Capability.h"

#include <array>

namespace B2Capabilities {

std::span<const B2Capability> all()
{
    static const std::array<B2Capability, 38> capabilities{
        listBuckets,
        B2Capability("listAllBucketNames"),
        B2Capability("readBuckets"),
        writeBuckets,
        deleteBuckets,
        B2Capability("readBucketCors"),
        B2Capability("writeBucketCors"),
        B2Capability("readBucketInfo"),
        B2Capability("writeBucketInfo"),
        B2Capability("readBucketType"),
        B2Capability("writeBucketType"),
        B2Capability("readBucketLifecycleRules"),
        B2Capability("writeBucketLifecycleRules"),
        B2Capability("readBucketNotifications"),
        B2Capability("writeBucketNotifications"),
        B2Capability("readBucketReplications"),
        B2Capability("writeBucketReplications"),
        B2Capability("readBucketLogging"),
        B2Capability("writeBucketLogging"),
        B2Capability("readBucketPolicy"),
        B2Capability("writeBucketPolicy"),
        B2Capability("readBucketEncryption"),
        B2Capability("writeBucketEncryption"),
        B2Capability("readBucketRetentions"),
        B2Capability("writeBucketRetentions"),
        listFiles,
        readFiles,
        shareFiles,
        writeFiles,
        deleteFiles,
        B2Capability("readFileRetentions"),
        B2Capability("writeFileRetentions"),
        B2Capability("readFileLegalHolds"),
        B2Capability("writeFileLegalHolds"),
        B2Capability("bypassGovernance"),
        listKeys,
        writeKeys,
        deleteKeys,
    };
    return capabilities;
}

const std::set<B2Capability>& accountOnly()
{
    static const std::set<B2Capability> capabilities{listKeys, writeKeys, deleteKeys, deleteBuckets};
    return capabilities;
}

} // namespace B2Capabilities
