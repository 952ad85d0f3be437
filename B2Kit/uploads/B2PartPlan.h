#pragma once

#include "B2Kit/uploads/B2Upload.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The service's limits for large files, in bytes.
struct B2LargeFileLimits {
    static constexpr std::int64_t smallestFile = 5'000'001;
    static constexpr std::int64_t smallestPart = 5'000'000; ///< The last part can be shorter.
    static constexpr std::int64_t largestPart = 5'000'000'000;
    static constexpr int maxPartCount = 10'000;
};

/// The bytes of one part, from `start` up to but not including `end`.
struct B2PartStretch {
    std::int64_t start = 0;
    std::int64_t end = 0;

    std::int64_t length() const { return end - start; }

    bool operator==(const B2PartStretch&) const = default;
};

/// Cuts a file into two parts or more, all of one length except the last; the first element is part number 1.
///
/// @param size             of the file.
/// @param partSize         to use if possible; if unset, the recommended one.
/// @param recommended      part size in the account's authorization.
/// @param absoluteMinimum  part size in the account's authorization.
/// @throws B2Error when the file is too small for a large file or too large for 10,000 parts.
std::vector<B2PartStretch> planParts(
    std::int64_t size, std::optional<std::int64_t> partSize, std::int64_t recommended, std::int64_t absoluteMinimum);

/// Returns the digests, by part number, of the stored parts that fit the plan.
///
/// A part of another length or without a digest counts as not uploaded.
std::map<int, std::string> trustedParts(const std::vector<B2PartStretch>& plan, const std::vector<B2Part>& stored);
