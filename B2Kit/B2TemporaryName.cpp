#include "B2Kit/B2TemporaryName.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <sys/random.h>
#include <system_error>

namespace {

constexpr std::size_t digitCount = 16;

} // namespace

std::string makeTemporaryName()
{
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random))
        throw std::system_error(errno, std::generic_category(), "getrandom");
    return fmt::format("{}{:016x}{}", temporaryNamePrefix, random, temporaryNameSuffix);
}

bool isTemporaryName(std::string_view fileName)
{
    if (fileName.size() != temporaryNamePrefix.size() + digitCount + temporaryNameSuffix.size()
        || !fileName.starts_with(temporaryNamePrefix) || !fileName.ends_with(temporaryNameSuffix))
        return false;
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    return std::ranges::all_of(fileName.substr(temporaryNamePrefix.size(), digitCount), isDigit);
}
