#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

struct B2ReplicationRule {
    std::string replicationRuleName;
    std::string destinationBucketID;
    std::string fileNamePrefix;
    std::optional<bool> includeExistingFiles;
    std::optional<bool> isEnabled; ///< Unset counts as enabled.
    std::optional<int> priority;

    bool operator==(const B2ReplicationRule&) const = default;
};

struct B2ReplicationConfiguration {
    struct Source {
        std::vector<B2ReplicationRule> replicationRules;
        std::string sourceApplicationKeyID;

        bool operator==(const Source&) const = default;
    };
    struct Destination {
        std::map<std::string, std::string> sourceToDestinationKeyMapping;

        bool operator==(const Destination&) const = default;
    };

    std::optional<Source> asReplicationSource;
    std::optional<Destination> asReplicationDestination;

    bool operator==(const B2ReplicationConfiguration&) const = default;

    /// Describes the configuration in sentences.
    ///
    /// @param destinationName  name of the first rule's destination bucket, if known.
    std::string summary(const std::optional<std::string>& destinationName) const;
};

/// A bucket's replication as the key can see it.
class B2BucketReplication {
public:
    struct Unknown { ///< The key may not read it.
        bool operator==(const Unknown&) const = default;
    };
    struct Unconfigured {
        bool operator==(const Unconfigured&) const = default;
    };

    static B2BucketReplication configured(B2ReplicationConfiguration configuration)
    {
        return B2BucketReplication(std::move(configuration));
    }
    static B2BucketReplication unknown() { return B2BucketReplication(Unknown{}); }
    static B2BucketReplication unconfigured() { return B2BucketReplication(Unconfigured{}); }

    bool isUnknown() const { return std::holds_alternative<Unknown>(state_); }
    /// The configuration, or null when there is none or it may not be read.
    const B2ReplicationConfiguration* configuration() const { return std::get_if<B2ReplicationConfiguration>(&state_); }

    bool operator==(const B2BucketReplication&) const = default;

private:
    using State = std::variant<B2ReplicationConfiguration, Unknown, Unconfigured>;

    explicit B2BucketReplication(State state)
        : state_(std::move(state))
    {
    }

    State state_;
};

/// The progress of the copy of one version. Open: an unknown status keeps its text.
class B2ReplicationStatus {
public:
    enum class Kind { pending, completed, failed, replica, unknown };

    /// Compares without case.
    static B2ReplicationStatus fromText(std::string text);

    Kind kind() const { return kind_; }
    /// The text that is sent to the service.
    std::string text() const;

    bool operator==(const B2ReplicationStatus&) const = default;

private:
    Kind kind_ = Kind::unknown;
    std::string unknownText_;
};
