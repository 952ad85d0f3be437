#include "accounts/ExpiryNotice.h"

#include "foundation/Texts.h"

namespace {

constexpr std::chrono::days noticeTime(7);

} // namespace

std::optional<std::string> expiryNotice(
    const std::string& label, const B2Authorization& key, std::chrono::system_clock::time_point now)
{
    if (!key.applicationKeyExpirationTimestamp)
        return std::nullopt;
    const std::chrono::sys_time<std::chrono::milliseconds> end(
        std::chrono::milliseconds(*key.applicationKeyExpirationTimestamp));
    if (end - now > noticeTime)
        return std::nullopt;
    return "The key “" + label + "” stops working on " + dateText(end)
        + ", and transfers that run with it then fail. Add another key before that.";
}
