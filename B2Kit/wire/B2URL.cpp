#include "B2Kit/wire/B2URL.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/transport/CurlTarget.h"
#include "B2Kit/wire/B2Text.h"

void requireTrustedURL(const std::string& url)
{
    constexpr std::size_t longestQuoted = 200;
    try {
        static_cast<void>(checkedTarget(url));
    } catch (const B2TransportError&) {
        throw B2Error(B2Error::InvalidURL{clipped(oneLine(url), longestQuoted)});
    }
}

std::string appendingPath(std::string_view base, std::string_view path)
{
    while (base.ends_with('/'))
        base.remove_suffix(1);
    std::string url;
    url.reserve(base.size() + path.size());
    url += base;
    url += path;
    return url;
}

std::string callURL(std::string_view base, std::string_view version, std::string_view operation)
{
    auto url = appendingPath(base, "/b2api/");
    url.append(version).append("/").append(operation);
    return url;
}
