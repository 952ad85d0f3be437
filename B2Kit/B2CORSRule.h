#pragma once

#include "B2Kit/wire/B2OpenText.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

/// An operation that a web page may carry out on a bucket. Open: an unknown operation is kept.
struct B2CORSOperation : B2OpenText<struct B2CORSOperationTag> {
    using B2OpenText::B2OpenText;

    /// The name that the editor shows; the raw text for an unknown operation.
    std::string label() const;

    /// The known operations, in the editor's order.
    static std::span<const B2CORSOperation> all();
};

struct B2CORSLimits {
    B2CORSLimits() = delete;

    static constexpr int maximumRuleCount = 100;
    static constexpr int minimumNameLength = 6;
    static constexpr int maximumNameLength = 63;
    static constexpr int maximumAgeSeconds = 86400;
};

struct B2CORSRule {
    std::string corsRuleName;
    std::vector<std::string> allowedOrigins;
    std::vector<B2CORSOperation> allowedOperations;
    std::optional<std::vector<std::string>> allowedHeaders;
    std::optional<std::vector<std::string>> exposeHeaders;
    int maxAgeSeconds = 0;

    bool operator==(const B2CORSRule&) const = default;

    /// The first problem that the service would refuse, or nothing. An empty name is incomplete, not wrong.
    std::optional<std::string> validationMessage() const;
};

/// The problem with the rules as a set (too many, repeated names), or nothing.
std::optional<std::string> validationMessage(std::span<const B2CORSRule> rules);
