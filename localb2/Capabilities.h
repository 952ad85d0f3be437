#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace localb2 {

/// The rights of a key, in the order of `capabilityNames`.
enum class Capability {
    listKeys,
    writeKeys,
    deleteKeys,
    listBuckets,
    listAllBucketNames,
    readBuckets,
    writeBuckets,
    deleteBuckets,
    readBucketEncryption,
    writeBucketEncryption,
    readBucketRetentions,
    writeBucketRetentions,
    readBucketReplications,
    writeBucketReplications,
    readBucketNotifications,
    writeBucketNotifications,
    readBucketLogging,
    writeBucketLogging,
    readBucketLifecycleRules,
    writeBucketLifecycleRules,
    readBucketCors,
    writeBucketCors,
    listFiles,
    readFiles,
    shareFiles,
    writeFiles,
    deleteFiles,
    readFileLegalHolds,
    writeFileLegalHolds,
    readFileRetentions,
    writeFileRetentions,
    bypassGovernance,
    readBucketInfo,
    writeBucketInfo,
    readBucketType,
    writeBucketType,
    readBucketPolicy,
    writeBucketPolicy,
};

/// A set of capabilities.
class Capabilities {
public:
    static Capabilities all();

    /// Returns nothing for an unknown name.
    static std::optional<Capability> named(std::string_view name);
    /// Comma-separated, as the database keeps them.
    static Capabilities parsed(std::string_view names);

    void add(Capability capability) { bits_ |= bit(capability); }
    bool has(Capability capability) const { return (bits_ & bit(capability)) != 0; }
    bool isEmpty() const { return bits_ == 0; }
    std::vector<std::string_view> names() const;
    std::string joined() const;
    std::string json() const;

private:
    static constexpr std::uint64_t bit(Capability capability)
    {
        return std::uint64_t{1} << static_cast<unsigned>(capability);
    }

    std::uint64_t bits_ = 0;
};

} // namespace localb2
