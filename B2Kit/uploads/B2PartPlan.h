#pragma once

#include "B2Kit/uploads/B2Upload.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What the service takes as a large file, in bytes.
struct B2LargeFileLimits {
    static constexpr std::int64_t smallestFile = 5'000'001;
    static constexpr std::int64_t smallestPart = 5'000'000; ///< The last part can be shorter.
    static constexpr std::int64_t largestPart = 5'000'000'000;
    static constexpr int mostParts = 10'000;
};

/// The bytes of one part: from `start` up to `end`, which is the next part's.
struct B2PartStretch {
    std::int64_t start = 0;
    std::int64_t end = 0;

    std::int64_t length() const { return end - start; }

    bool operator==(const B2PartStretch&) const = default;
};

/// Cuts a file into parts; the first element is part number 1. Always at least two, all of one length but the last.
///
/// @param size             of the file.
/// @param partSize         wished for; unset takes the account's recommendation.
/// @param recommended      and
/// @param absoluteMinimum  as the account's authorization tells them.
/// @throws B2Error when the file is too small for a large file or too large for 10,000 parts.
std::vector<B2PartStretch> planParts(
    std::int64_t size, std::optional<std::int64_t> partSize, std::int64_t recommended, std::int64_t absoluteMinimum);

/// Which of the parts that the service lists can stand for those of the plan: digests by part number.
///
/// A part of another length or without a digest counts as not uploaded.
std::map<int, std::string> trustedParts(const std::vector<B2PartStretch>& plan, const std::vector<B2Part>& stored);
