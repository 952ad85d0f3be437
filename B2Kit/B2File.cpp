#include "B2Kit/B2File.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace {

constexpr auto lastModifiedKey = "src_last_modified_millis";

bool isMode(const std::optional<B2ServerSideEncryption>& encryption, std::string_view uppercaseMode)
{
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return encryption && encryption->mode && std::ranges::equal(*encryption->mode, uppercaseMode, {}, upper);
}

} // namespace

std::optional<std::chrono::system_clock::time_point> lastModifiedFrom(
    const std::map<std::string, std::string>& fileInfo)
{
    const auto found = fileInfo.find(lastModifiedKey);
    if (found == fileInfo.end())
        return std::nullopt;
    const auto& text = found->second;
    double milliseconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), milliseconds);
    // The system's clock counts nanoseconds and ends in 2262, but the number may come from any program.
    constexpr double limit = 9.2e12;
    if (error != std::errc() || end != text.data() + text.size() || !(std::abs(milliseconds) <= limit))
        return std::nullopt;
    return std::chrono::system_clock::time_point(std::chrono::milliseconds(std::llround(milliseconds)));
}

void setLastModified(std::map<std::string, std::string>& fileInfo, std::chrono::system_clock::time_point date)
{
    const auto sinceEpoch = std::chrono::round<std::chrono::milliseconds>(date.time_since_epoch());
    fileInfo[lastModifiedKey] = std::to_string(sinceEpoch.count());
}

std::string B2FileVersion::id() const
{
    return fileID ? *fileID : "folder:" + fileName;
}

std::optional<std::string> B2FileVersion::largeFileSHA1() const
{
    const auto found = fileInfo.find("large_file_sha1");
    return found == fileInfo.end() ? std::nullopt : std::optional(found->second);
}

bool B2FileVersion::usesCustomerKey() const
{
    return isMode(serverSideEncryption, "SSE-C");
}

bool B2FileVersion::usesServerKey() const
{
    return isMode(serverSideEncryption, "SSE-B2");
}
