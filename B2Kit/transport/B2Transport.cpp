#include "B2Kit/transport/B2Transport.h"

#include "async/Timer.h"

#include <algorithm>

namespace {

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::optional<std::string> B2HTTPResponse::header(std::string_view name) const
{
    for (const auto& entry : headers) {
        if (std::ranges::equal(entry.name, name, {}, lower, lower))
            return entry.value;
    }
    return std::nullopt;
}

Task<> SystemSleeper::sleep(double seconds)
{
    // Written so that NaN does not wait; a wait of years would overflow the nanoseconds.
    constexpr double longest = 365.0 * 24 * 3600;
    const double bounded = seconds > 0 ? std::min(seconds, longest) : 0;
    co_await sleepFor(std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(bounded)));
}
