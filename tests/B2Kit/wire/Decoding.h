#pragma once

#include "B2Kit/wire/B2Decoding.h"

#include <string>
#include <string_view>

/// Returns why a text is refused as a record; empty when it is accepted.
template <class Record>
std::string refusal(std::string_view json)
{
    try {
        static_cast<void>(decodeRecord<Record>(json));
        return {};
    } catch (const B2DecodingError& error) {
        return error.what();
    }
}

/// A copy with the first occurrence of a part replaced.
inline std::string replaced(std::string text, std::string_view part, std::string_view by)
{
    return text.replace(text.find(part), part.size(), by);
}
