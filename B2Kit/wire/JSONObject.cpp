#include "B2Kit/wire/JSONObject.h"

#include <utility>

namespace {

bool isContinuation(unsigned char byte)
{
    return (byte & 0xc0) == 0x80;
}

/// Length of the UTF-8 character at the start of a text that begins with a byte above 127; 0 if there is none.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [text](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : static_cast<unsigned char>(0);
    };
    const auto lead = byte(0);
    if (lead >= 0xc2 && lead <= 0xdf)
        return isContinuation(byte(1)) ? 2 : 0;
    if (lead >= 0xe0 && lead <= 0xef) {
        const bool isOverlong = lead == 0xe0 && byte(1) < 0xa0;
        const bool isSurrogate = lead == 0xed && byte(1) > 0x9f;
        return isContinuation(byte(1)) && isContinuation(byte(2)) && !isOverlong && !isSurrogate ? 3 : 0;
    }
    if (lead >= 0xf0 && lead <= 0xf4) {
        const bool isOverlong = lead == 0xf0 && byte(1) < 0x90;
        const bool isTooLarge = lead == 0xf4 && byte(1) > 0x8f;
        const bool isWhole = isContinuation(byte(1)) && isContinuation(byte(2)) && isContinuation(byte(3));
        return isWhole && !isOverlong && !isTooLarge ? 4 : 0;
    }
    return 0;
}

void appendEscaped(std::string& json, char character)
{
    constexpr std::string_view digits = "0123456789abcdef";
    switch (character) {
    case '"':
    case '\\':
        json += '\\';
        json += character;
        return;
    case '\n':
        json += "\\n";
        return;
    case '\r':
        json += "\\r";
        return;
    case '\t':
        json += "\\t";
        return;
    default:
        json += "\\u00";
        json += digits[static_cast<unsigned char>(character) >> 4];
        json += digits[static_cast<unsigned char>(character) & 0xf];
    }
}

} // namespace

void appendJSONText(std::string& json, std::string_view text)
{
    json += '"';
    while (!text.empty()) {
        const auto byte = static_cast<unsigned char>(text.front());
        std::size_t length = 1;
        if (byte < 0x20 || byte == 0x7f || byte == '"' || byte == '\\') {
            appendEscaped(json, text.front());
        } else if (byte < 0x80) {
            json += text.front();
        } else if (const auto whole = characterLength(text); whole > 0) {
            json += text.substr(0, whole);
            length = whole;
        } else {
            json += "\xef\xbf\xbd";
        }
        text.remove_prefix(length);
    }
    json += '"';
}

JSONObject& JSONObject::set(std::string_view key, std::string_view value)
{
    startField(key);
    appendJSONText(text_, value);
    return *this;
}

JSONObject& JSONObject::set(std::string_view key, std::int64_t value)
{
    return setRaw(key, std::to_string(value));
}

JSONObject& JSONObject::set(std::string_view key, const std::vector<std::string>& values)
{
    startField(key);
    text_ += '[';
    for (const auto& value : values) {
        if (text_.back() != '[')
            text_ += ',';
        appendJSONText(text_, value);
    }
    text_ += ']';
    return *this;
}

JSONObject& JSONObject::set(std::string_view key, const std::map<std::string, std::string>& values)
{
    JSONObject object;
    for (const auto& [name, value] : values)
        object.set(name, value);
    return setRaw(key, std::move(object).text());
}

JSONObject& JSONObject::setRaw(std::string_view key, std::string_view json)
{
    startField(key);
    text_ += json;
    return *this;
}

std::string JSONObject::text() &&
{
    text_ += '}';
    return std::move(text_);
}

void JSONObject::startField(std::string_view key)
{
    if (text_.size() > 1)
        text_ += ',';
    appendJSONText(text_, key);
    text_ += ':';
}
