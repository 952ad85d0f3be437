#include "localb2/Encoding.h"

#include <fmt/format.h>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include <stdexcept>
#include <vector>

namespace localb2 {

namespace {

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr std::array<bool, 256> bareCharacters = [] {
    std::array<bool, 256> bare{};
    for (const char c :
        std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-/~!$'()*;=:@"))
        bare[static_cast<unsigned char>(c)] = true;
    return bare;
}();

std::vector<unsigned char> randomBytes(std::size_t count)
{
    std::vector<unsigned char> bytes(count);
    if (RAND_bytes(bytes.data(), static_cast<int>(count)) != 1)
        throw std::runtime_error("The system has no random numbers.");
    return bytes;
}

} // namespace

std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            out += ' ';
        } else if (text[i] == '%') {
            if (i + 2 >= text.size() || hexDigit(text[i + 1]) < 0 || hexDigit(text[i + 2]) < 0)
                return std::nullopt;
            out += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string percentEncoded(std::string_view text)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (bareCharacters[byte]) {
            out += c;
        } else {
            out += '%';
            out += digits[byte >> 4];
            out += digits[byte & 15];
        }
    }
    return out;
}

std::optional<std::string> base64Decoded(std::string_view text)
{
    while (!text.empty() && text.back() == '=')
        text.remove_suffix(1);
    static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        const auto value = alphabet.find(c);
        if (value == std::string_view::npos)
            return std::nullopt;
        bits = (bits << 6) | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out += static_cast<char>((bits >> count) & 0xff);
        }
    }
    return out;
}

std::string hexOf(std::span<const unsigned char> bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const auto byte : bytes) {
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

bool isSHA1(std::string_view text)
{
    return text.size() == 40 && std::ranges::all_of(text, [](char c) { return hexDigit(c) >= 0; });
}

std::string lowerCased(std::string_view text)
{
    std::string out(text);
    std::ranges::transform(out, out.begin(), lower);
    return out;
}

bool equalIgnoringCase(std::string_view left, std::string_view right)
{
    return std::ranges::equal(left, right, {}, lower, lower);
}

bool isUTF8(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const int more = byte < 0x80 ? 0 : (byte >> 5) == 6 ? 1 : (byte >> 4) == 14 ? 2 : (byte >> 3) == 30 ? 3 : -1;
        if (more < 0 || i + static_cast<std::size_t>(more) >= text.size())
            return false;
        char32_t code = more == 0 ? byte : byte & (0x3f >> more);
        for (int k = 1; k <= more; ++k) {
            const auto next = static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]);
            if ((next >> 6) != 2)
                return false;
            code = (code << 6) | (next & 0x3f);
        }
        static constexpr std::array<char32_t, 4> least = {0, 0x80, 0x800, 0x10000};
        if (code < least[static_cast<std::size_t>(more)] || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
            return false;
        i += static_cast<std::size_t>(more) + 1;
    }
    return true;
}

std::optional<std::int64_t> wholeNumber(std::string_view digits)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || digits.front() == '-' || error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    return value;
}

std::string randomText(std::size_t length)
{
    static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::string out;
    for (const auto byte : randomBytes(length))
        out += alphabet[byte % alphabet.size()];
    return out;
}

std::string randomHex(std::size_t digits)
{
    auto text = hexOf(randomBytes((digits + 1) / 2));
    text.resize(digits);
    return text;
}

void appendQuoted(std::string& out, std::string_view text)
{
    out += '"';
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x20 && byte != '"' && byte != '\\')
            continue;
        out.append(text, plain, i - plain);
        plain = i + 1;
        if (byte >= 0x20) {
            out += '\\';
            out += text[i];
        } else if (byte == '\n') {
            out += "\\n";
        } else if (byte == '\t') {
            out += "\\t";
        } else {
            out += fmt::format("\\u{:04x}", static_cast<unsigned>(byte));
        }
    }
    out.append(text, plain);
    out += '"';
}

std::string& JSONObject::value(std::string_view key)
{
    if (!isFirst_)
        out_ += ',';
    isFirst_ = false;
    out_ += '"';
    out_ += key;
    out_ += "\":";
    return out_;
}

void JSONObject::text(std::string_view key, std::string_view text)
{
    appendQuoted(value(key), text);
}

void JSONObject::number(std::string_view key, std::int64_t number)
{
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    value(key).append(digits.data(), end);
}

void JSONObject::boolean(std::string_view key, bool flag)
{
    value(key) += flag ? "true" : "false";
}

void JSONObject::null(std::string_view key)
{
    value(key) += "null";
}

void JSONObject::raw(std::string_view key, std::string_view json)
{
    value(key) += json;
}

void JSONObject::textOrNull(std::string_view key, std::string_view text)
{
    if (text.empty())
        null(key);
    else
        this->text(key, text);
}

namespace {

struct CivilFields {
    std::chrono::year_month_day day;
    std::chrono::hh_mm_ss<std::chrono::seconds> time;
    std::chrono::weekday weekday;
};

CivilFields fieldsOf(std::int64_t milliseconds)
{
    using namespace std::chrono;
    const auto seconds =
        floor<std::chrono::seconds>(sys_time<std::chrono::milliseconds>(std::chrono::milliseconds(milliseconds)));
    const auto day = floor<days>(seconds);
    return {year_month_day(day), hh_mm_ss(seconds - day), weekday(day)};
}

} // namespace

CivilTime civilTime(std::int64_t milliseconds)
{
    // By hand: every row of a listing needs it, and a general formatter would be most of the cost.
    const auto fields = fieldsOf(milliseconds);
    const auto put = [](std::string& out, int value, int width) {
        for (int scale = width == 4 ? 1000 : 10; scale > 0; scale /= 10)
            out += static_cast<char>('0' + value / scale % 10);
    };
    CivilTime civil;
    put(civil.date, static_cast<int>(fields.day.year()), 4);
    put(civil.date, static_cast<int>(static_cast<unsigned>(fields.day.month())), 2);
    put(civil.date, static_cast<int>(static_cast<unsigned>(fields.day.day())), 2);
    put(civil.time, static_cast<int>(fields.time.hours().count()), 2);
    put(civil.time, static_cast<int>(fields.time.minutes().count()), 2);
    put(civil.time, static_cast<int>(fields.time.seconds().count()), 2);
    return civil;
}

std::string httpDate(std::int64_t milliseconds)
{
    static constexpr std::array weekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array months = {
        "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto fields = fieldsOf(milliseconds);
    return fmt::format("{}, {:02} {} {} {:02}:{:02}:{:02} GMT", weekdays[fields.weekday.c_encoding()],
        static_cast<unsigned>(fields.day.day()), months[static_cast<unsigned>(fields.day.month()) - 1],
        static_cast<int>(fields.day.year()), fields.time.hours().count(), fields.time.minutes().count(),
        fields.time.seconds().count());
}

} // namespace localb2
