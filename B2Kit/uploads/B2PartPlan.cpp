#include "B2Kit/uploads/B2PartPlan.h"

#include "B2Kit/B2Error.h"

#include <algorithm>

namespace {

using Limits = B2LargeFileLimits;

constexpr std::size_t digestLength = 40;

std::int64_t dividedUp(std::int64_t number, std::int64_t divisor)
{
    return number / divisor + (number % divisor == 0 ? 0 : 1);
}

std::int64_t partSizeFor(std::int64_t size, std::int64_t wished, std::int64_t absoluteMinimum)
{
    const auto needed = dividedUp(size, Limits::maxPartCount);
    const auto partSize =
        std::min(std::max({wished, needed, absoluteMinimum, Limits::smallestPart}), Limits::largestPart);
    if (partSize < size)
        return partSize;
    // A large file has at least two parts, and the first has at least the smallest size.
    constexpr auto largestWithShortEnd = 2 * Limits::smallestPart - 2;
    return size > largestWithShortEnd ? (size + 1) / 2 : Limits::smallestPart;
}

} // namespace

std::vector<B2PartStretch> planParts(
    std::int64_t size, std::optional<std::int64_t> partSize, std::int64_t recommended, std::int64_t absoluteMinimum)
{
    if (size < Limits::smallestFile)
        throw B2Error(B2Error::FileTooSmallForLargeUpload{size});
    const auto length = partSizeFor(size, partSize.value_or(recommended), absoluteMinimum);
    const auto count = dividedUp(size, length);
    if (count > Limits::maxPartCount)
        throw B2Error(B2Error::PartCountExceeded{.needed = count, .maximum = Limits::maxPartCount});
    std::vector<B2PartStretch> plan;
    plan.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i)
        plan.push_back({.start = i * length, .end = std::min((i + 1) * length, size)});
    return plan;
}

std::map<int, std::string> trustedParts(const std::vector<B2PartStretch>& plan, const std::vector<B2Part>& stored)
{
    std::map<int, std::string> trusted;
    for (const auto& part : stored) {
        const auto index = static_cast<std::size_t>(part.partNumber) - 1;
        if (part.partNumber < 1 || index >= plan.size() || part.contentLength != plan[index].length()
            || !part.contentSHA1 || part.contentSHA1->size() != digestLength)
            continue;
        trusted[part.partNumber] = *part.contentSHA1;
    }
    return trusted;
}
