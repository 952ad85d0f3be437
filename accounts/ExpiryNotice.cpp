#include "accounts/ExpiryNotice.h"

#include "foundation/Texts.h"

namespace {

constexpr std::chrono::days noticeTime(7);

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

std::optional<Milliseconds> endOf(const B2Authorization& key)
{
    const auto& end = key.applicationKeyExpirationTimestamp;
    return end ? std::optional(Milliseconds(std::chrono::milliseconds(*end))) : std::nullopt;
}

} // namespace

std::optional<std::string> expiryNotice(
    const std::string& label, const B2Authorization& key, std::chrono::system_clock::time_point now)
{
    const auto end = endOf(key);
    if (!end || *end - now > noticeTime)
        return std::nullopt;
    if (*end <= now)
        return "The key “" + label + "” expired on " + dateText(*end)
            + ", and transfers that run with it fail. Choose another key at the top of the sidebar, or add one.";
    return "The key “" + label + "” stops working on " + dateText(*end)
        + ", and transfers that run with it then fail. Add another key before that.";
}

std::optional<std::string> endedKeyText(const B2Authorization& key, std::chrono::system_clock::time_point now)
{
    const auto end = endOf(key);
    if (!end || *end > now)
        return std::nullopt;
    return "This key stopped working on " + dateText(*end)
        + ": it reached the end it was created with. Choose another key at the top of the sidebar.";
}
