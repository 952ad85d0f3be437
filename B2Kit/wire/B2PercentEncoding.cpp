#include "B2Kit/wire/B2PercentEncoding.h"

#include "B2Kit/wire/B2Text.h"

namespace {

constexpr bool isUnreserved(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.'
        || c == '_' || c == '~';
}

std::string encode(std::string_view text, bool keepsSlashes)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() + 16);
    for (const char c : text) {
        if (isUnreserved(c) || (keepsSlashes && c == '/')) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += '%';
        encoded += digits[byte >> 4];
        encoded += digits[byte & 15];
    }
    return encoded;
}

/// The value of a hexadecimal digit, or -1.
constexpr int digitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace

std::string percentEncodedName(std::string_view name)
{
    return encode(name, true);
}

std::string percentEncoded(std::string_view text)
{
    return encode(text, false);
}

std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i] == '+' ? ' ' : text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? digitValue(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? digitValue(text[i + 2]) : -1;
        if (high < 0 || low < 0)
            return std::nullopt;
        decoded += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return isUTF8(decoded) ? std::optional(std::move(decoded)) : std::nullopt;
}
