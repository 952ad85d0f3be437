#pragma once

#include <functional>
#include <string>
#include <variant>

/// A part, or a file in one piece, failed and is sent again after a wait.
struct B2PartBackingOff {
    int partNumber = 0; ///< 0 for a file in one piece.
    int attempt = 0;    ///< Of the retry to come, from 1.
    int maxAttempts = 0;
    double delaySeconds = 0;
    std::string reason; ///< A few words.

    bool operator==(const B2PartBackingOff&) const = default;
};

/// The transfer goes on, or has succeeded, after a retry.
struct B2PartRecovered {
    int partNumber = 0;

    bool operator==(const B2PartRecovered&) const = default;
};

using B2PartRetryEvent = std::variant<B2PartBackingOff, B2PartRecovered>;

/// Called on any thread; returns quickly.
using B2OnRetry = std::function<void(const B2PartRetryEvent&)>;
