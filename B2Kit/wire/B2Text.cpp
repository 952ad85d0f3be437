#include "B2Kit/wire/B2Text.h"

#include <algorithm>
#include <simdjson.h>

bool isUTF8(std::string_view text)
{
    return simdjson::validate_utf8(text.data(), text.size());
}

std::string trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

std::string oneLine(std::string_view text)
{
    std::string line(text);
    std::ranges::replace_if(line, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
    return line;
}

std::string clipped(std::string text, std::size_t maximumBytes)
{
    if (text.size() <= maximumBytes)
        return text;
    std::size_t end = maximumBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80)
        --end;
    text.resize(end);
    return text + "…";
}
