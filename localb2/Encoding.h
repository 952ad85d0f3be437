#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace localb2 {

/// Decodes `%XX`, and `+` as a space. Returns nothing when an escape is malformed.
std::optional<std::string> percentDecoded(std::string_view text);

/// UTF-8 as header values and URL paths carry it; `/` stays bare.
std::string percentEncoded(std::string_view text);

/// Returns nothing when the text is not base64.
std::optional<std::string> base64Decoded(std::string_view text);

std::string hexOf(std::span<const unsigned char> bytes);

/// Returns true for exactly 40 hex digits of either case.
bool isSHA1(std::string_view text);

std::string lowerCased(std::string_view text);
bool equalIgnoringCase(std::string_view left, std::string_view right);

/// Returns true for well-formed UTF-8 without overlong forms and surrogates.
bool isUTF8(std::string_view text);

/// Reads a whole number without sign or blanks. Returns nothing for anything else, overflow included.
std::optional<std::int64_t> wholeNumber(std::string_view digits);

/// Random text from the letters and digits, from the system's generator.
std::string randomText(std::size_t length);
std::string randomHex(std::size_t digits);

/// Appends the text in quotes, escaping `"`, `\` and characters below U+0020.
void appendQuoted(std::string& out, std::string_view text);

/// Writes one JSON object into a string: opened by the constructor, closed by the destructor.
class JSONObject {
public:
    explicit JSONObject(std::string& out)
        : out_(out)
    {
        out_ += '{';
    }
    ~JSONObject() { out_ += '}'; }

    JSONObject(const JSONObject&) = delete;
    JSONObject& operator=(const JSONObject&) = delete;

    void text(std::string_view key, std::string_view value);
    void number(std::string_view key, std::int64_t value);
    void boolean(std::string_view key, bool value);
    void null(std::string_view key);
    /// Writes a value that is already JSON.
    void raw(std::string_view key, std::string_view json);
    /// Writes the text, or null when it is empty.
    void textOrNull(std::string_view key, std::string_view value);

    /// Writes the key; the caller appends the value.
    std::string& value(std::string_view key);

private:
    std::string& out_;
    bool isFirst_ = true;
};

/// `20260305` and `101500` for milliseconds since 1970, UTC.
struct CivilTime {
    std::string date;
    std::string time;
};
CivilTime civilTime(std::int64_t milliseconds);

/// The form of the `Date` header.
std::string httpDate(std::int64_t milliseconds);

} // namespace localb2
