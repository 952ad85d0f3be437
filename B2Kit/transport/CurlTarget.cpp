#include "B2Kit/transport/CurlTarget.h"

#include "B2Kit/B2Error.h"

#include <algorithm>
#include <arpa/inet.h>
#include <new>

namespace {

[[noreturn]] void refuse(std::string sentence)
{
    throw B2TransportError(B2TransportError::Code::badURL, std::move(sentence));
}

std::string part(CURLU* url, CURLUPart which, unsigned flags = 0)
{
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
    return text;
}

bool isLoopback(const std::string& host)
{
    if (host == "localhost" || host == "[::1]")
        return true;
    in_addr address = {};
    return inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

bool isBlankOrControl(char c)
{
    return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f;
}

bool isNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
        || std::string_view("!#$%&'*+-.^_`|~").contains(c);
}

bool endsLine(char c)
{
    return c == '\r' || c == '\n' || c == '\0';
}

} // namespace

CurlTarget checkedTarget(const std::string& url)
{
    const CurlURL parsed(curl_url());
    if (!parsed)
        throw std::bad_alloc();
    // The address itself may hold a token, so no sentence quotes more than its host.
    if (std::ranges::any_of(url, isBlankOrControl)
        || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_PATH_AS_IS | CURLU_DISALLOW_USER) != CURLUE_OK)
        refuse("The service's address is not a valid URL.");
    const auto scheme = part(parsed.get(), CURLUPART_SCHEME);
    auto host = part(parsed.get(), CURLUPART_HOST);
    if (scheme != "https" && !(scheme == "http" && isLoopback(host)))
        refuse("The address of " + host + " is not secure: only https is used.");
    auto authority = scheme + "://" + host + ":" + part(parsed.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    return {std::move(host), std::move(authority)};
}

CurlList headerLines(const std::vector<B2HTTPHeader>& headers)
{
    CurlList lines;
    const auto append = [&lines](const std::string& line) {
        auto* const longer = curl_slist_append(lines.get(), line.c_str());
        if (!longer)
            throw std::bad_alloc();
        if (!lines)
            lines.reset(longer); // Later the list keeps its head.
    };
    // A body is sent at once, without waiting for the server to ask for it.
    append("Expect:");
    for (const auto& [name, value] : headers) {
        if (name.empty() || !std::ranges::all_of(name, isNameCharacter))
            refuse("A header of the request has a name that cannot be sent.");
        if (std::ranges::any_of(value, endsLine))
            refuse("The header " + name + " of the request holds a line break.");
        // libcurl leaves out a header that ends in a colon and sends one without value for a semicolon.
        std::string line = name;
        line += value.empty() ? ";" : ": ";
        append(line += value);
    }
    return lines;
}
