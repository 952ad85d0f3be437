#include "B2Kit/B2Replication.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using Kind = B2ReplicationStatus::Kind;

struct KnownStatus {
    Kind kind;
    std::string_view text;
};

constexpr std::array<KnownStatus, 4> knownStatuses{{
    {Kind::pending, "PENDING"},
    {Kind::completed, "COMPLETED"},
    {Kind::failed, "FAILED"},
    {Kind::replica, "REPLICA"},
}};

bool isEqualIgnoringCase(std::string_view text, std::string_view uppercase)
{
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return std::ranges::equal(text, uppercase, {}, upper);
}

/// "1 more rule", "2 more rules".
std::string counted(std::size_t count, std::string_view things)
{
    return std::to_string(count).append(" ").append(things).append(count == 1 ? "" : "s");
}

std::string ruleText(const B2ReplicationRule& rule, const std::optional<std::string>& destinationName)
{
    const auto scope = rule.fileNamePrefix.empty() ? "Everything here" : "Everything under " + rule.fileNamePrefix;
    const auto& destination = destinationName.value_or(rule.destinationBucketID);
    const auto* off = rule.isEnabled == false ? ", currently turned off" : "";
    return "Source: " + scope + " is copied to " + destination + ". Rule “" + rule.replicationRuleName + "”" + off
        + ".";
}

} // namespace

std::string B2ReplicationConfiguration::summary(const std::optional<std::string>& destinationName) const
{
    std::string summary;
    const auto append = [&summary](const std::string& sentence) {
        if (!summary.empty())
            summary += ' ';
        summary += sentence;
    };
    if (asReplicationSource && !asReplicationSource->replicationRules.empty()) {
        const auto& rules = asReplicationSource->replicationRules;
        append(ruleText(rules.front(), destinationName));
        if (rules.size() > 1)
            append(counted(rules.size() - 1, "more rule") + " on this bucket.");
    }
    if (asReplicationDestination && !asReplicationDestination->sourceToDestinationKeyMapping.empty()) {
        const auto count = asReplicationDestination->sourceToDestinationKeyMapping.size();
        append("Destination: it accepts files from " + counted(count, "source key") + ".");
    }
    return summary.empty() ? "No replication is set up." : summary;
}

B2ReplicationStatus B2ReplicationStatus::fromText(std::string text)
{
    B2ReplicationStatus status;
    const auto* const known = std::ranges::find_if(
        knownStatuses, [&text](const KnownStatus& candidate) { return isEqualIgnoringCase(text, candidate.text); });
    if (known != knownStatuses.end())
        status.kind_ = known->kind;
    else
        status.unknownText_ = std::move(text);
    return status;
}

std::string B2ReplicationStatus::text() const
{
    const auto* const known = std::ranges::find(knownStatuses, kind_, &KnownStatus::kind);
    return known == knownStatuses.end() ? unknownText_ : std::string(known->text);
}
