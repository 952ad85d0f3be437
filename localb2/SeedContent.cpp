#include "localb2/SeedContent.h"

#include <fmt/format.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/zlib/deflate_stream.hpp>

#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <string_view>

namespace localb2 {

namespace {

constexpr int width = 320;
constexpr int height = 200;

void putNumber(std::string& out, std::uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out += static_cast<char>(number >> shift);
}

void putLittle(std::string& out, std::uint32_t number, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>(number >> (8 * i));
}

std::uint32_t crc32(std::string_view bytes)
{
    std::uint32_t crc = 0xffffffff;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xedb88320 : 0);
    }
    return ~crc;
}

std::uint32_t adler32(std::string_view bytes)
{
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (const char byte : bytes) {
        a = (a + static_cast<unsigned char>(byte)) % 65521;
        b = (b + a) % 65521;
    }
    return (b << 16) | a;
}

std::string compressed(std::string_view bytes)
{
    namespace zlib = boost::beast::zlib;
    zlib::deflate_stream stream;
    std::string out(stream.upper_bound(bytes.size()), '\0');
    zlib::z_params state;
    state.next_in = bytes.data();
    state.avail_in = bytes.size();
    state.next_out = out.data();
    state.avail_out = out.size();
    boost::system::error_code error;
    stream.write(state, zlib::Flush::finish, error);
    out.resize(state.total_out);
    std::string wrapped = "\x78\x9c" + out;
    putNumber(wrapped, adler32(bytes));
    return wrapped;
}

void putChunk(std::string& out, std::string_view type, std::string_view data)
{
    putNumber(out, static_cast<std::uint32_t>(data.size()));
    const auto start = out.size();
    out += type;
    out += data;
    putNumber(out, crc32(std::string_view(out).substr(start)));
}

struct Colour {
    int red;
    int green;
    int blue;
};

Colour mixed(Colour from, Colour to, double share)
{
    const auto part = [share](int a, int b) { return static_cast<int>(a + (b - a) * share); };
    return {part(from.red, to.red), part(from.green, to.green), part(from.blue, to.blue)};
}

void putColour(std::string& out, Colour colour)
{
    out += static_cast<char>(colour.red);
    out += static_cast<char>(colour.green);
    out += static_cast<char>(colour.blue);
}

/// 64 tones of sky, then 64 of each of two ridges, then the sun.
std::string palette(std::mt19937& random)
{
    const auto shade = [&random](int low, int range) {
        return low + static_cast<int>(random() % static_cast<unsigned>(range));
    };
    const Colour zenith{shade(40, 60), shade(80, 80), shade(160, 80)};
    const Colour horizon{shade(200, 55), shade(160, 70), shade(120, 90)};
    const Colour far{shade(90, 50), shade(100, 60), shade(120, 60)};
    const Colour near{shade(20, 50), shade(60, 60), shade(30, 40)};
    std::string colours;
    for (int i = 0; i < 64; ++i)
        putColour(colours, mixed(zenith, horizon, i / 63.0));
    for (int i = 0; i < 64; ++i)
        putColour(colours, mixed(far, near, i / 190.0));
    for (int i = 0; i < 64; ++i)
        putColour(colours, mixed(near, {10, 25, 15}, i / 80.0));
    for (int i = 0; i < 64; ++i)
        putColour(colours, {255, 240, 200});
    return colours;
}

std::string landscape(std::mt19937& random)
{
    const auto unit = [&random] { return static_cast<double>(random() % 1000) / 1000; };
    const double farPhase = unit() * 6;
    const double nearPhase = unit() * 6;
    const double farHeight = 90 + unit() * 30;
    const double nearHeight = 135 + unit() * 25;
    const double sunX = 40 + unit() * 240;
    const double sunY = 25 + unit() * 40;
    std::array<int, width> farRidge;
    std::array<int, width> nearRidge;
    for (std::size_t x = 0; x < width; ++x) {
        const auto t = static_cast<double>(x) / width * 2 * std::numbers::pi;
        farRidge[x] = static_cast<int>(farHeight - 18 * std::sin(t * 1.5 + farPhase) - 7 * std::sin(t * 5 + nearPhase));
        nearRidge[x] = static_cast<int>(nearHeight - 14 * std::sin(t + nearPhase) - 4 * std::sin(t * 7 + farPhase));
    }
    std::string points;
    points.reserve((width + 1) * height);
    for (int y = 0; y < height; ++y) {
        points += '\0'; // No filter.
        for (int x = 0; x < width; ++x) {
            const auto column = static_cast<std::size_t>(x);
            int colour = std::min(63, y * 64 / 130);
            if (y >= nearRidge[column])
                colour = 128 + std::min(63, y - nearRidge[column]);
            else if (y >= farRidge[column])
                colour = 64 + std::min(63, y - farRidge[column]);
            else if (std::hypot(x - sunX, y - sunY) < 14)
                colour = 192;
            points += static_cast<char>(colour);
        }
    }
    return points;
}

} // namespace

std::string pngPicture(unsigned number)
{
    std::mt19937 random(number);
    std::string png = "\x89PNG\r\n\x1a\n";
    std::string head;
    putNumber(head, width);
    putNumber(head, height);
    head += std::string_view("\x08\x03\0\0\0", 5); // 8 bits a point, with a palette.
    putChunk(png, "IHDR", head);
    putChunk(png, "PLTE", palette(random));
    putChunk(png, "IDAT", compressed(landscape(random)));
    putChunk(png, "IEND", "");
    return png;
}

std::string svgBadge(unsigned number)
{
    static constexpr std::array colours = {"#2a6f97", "#c1666b", "#48a9a6", "#d4b483", "#6a4c93", "#3a7d44"};
    return fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 64 64">
  <circle cx="32" cy="32" r="28" fill="{}"/>
  <path d="M18 {} L32 18 L46 {} Z" fill="#ffffff" fill-opacity="0.85"/>
</svg>
)",
        colours[number % colours.size()], 38 + number % 8, 38 + number % 8);
}

std::string plainText(unsigned number, int paragraphs)
{
    static constexpr std::array words = {"the", "harbour", "letter", "of", "a", "quiet", "morning", "we", "found",
        "paper", "under", "old", "maps", "and", "wrote", "down", "each", "name", "before", "evening", "came", "with",
        "rain", "from", "north", "every", "box", "was", "counted", "twice", "then", "closed", "again"};
    std::mt19937 random(number + 7);
    std::string text;
    for (int paragraph = 0; paragraph < paragraphs; ++paragraph) {
        for (unsigned sentence = 0; sentence < 3 + random() % 3; ++sentence) {
            const auto count = 6 + random() % 9;
            for (unsigned i = 0; i < count; ++i) {
                std::string word = words[random() % words.size()];
                if (i == 0)
                    word[0] = static_cast<char>(word[0] - 'a' + 'A');
                text += word;
                text += i + 1 < count ? " " : ". ";
            }
        }
        text.back() = '\n';
        text += '\n';
    }
    return text;
}

std::string csvTable(unsigned number, int rows)
{
    std::mt19937 random(number + 11);
    std::string table = "date,account,text,amount\n";
    for (int row = 0; row < rows; ++row)
        table += fmt::format("2025-{:02}-{:02},{},\"Entry {}\",{}.{:02}\n", random() % 12 + 1, random() % 28 + 1,
            1000 + random() % 9 * 100, row + 1, random() % 900, random() % 100);
    return table;
}

std::string wavTone(unsigned number, int seconds)
{
    constexpr std::uint32_t rate = 44'100;
    const auto bytes = rate * 2 * static_cast<std::uint32_t>(seconds);
    std::string wav = "RIFF";
    putLittle(wav, bytes + 36, 4);
    wav += "WAVEfmt ";
    putLittle(wav, 16, 4);
    putLittle(wav, 1, 2); // Plain samples,
    putLittle(wav, 1, 2); // one channel.
    putLittle(wav, rate, 4);
    putLittle(wav, rate * 2, 4);
    putLittle(wav, 2, 2);
    putLittle(wav, 16, 2);
    wav += "data";
    putLittle(wav, bytes, 4);
    wav.reserve(wav.size() + bytes);
    double phase = 0;
    for (std::uint32_t i = 0; i < bytes / 2; ++i) {
        phase += 2 * std::numbers::pi * (220 + 20 * (number % 12)) / rate * (1 - 0.4 * i / (bytes / 2.0));
        putLittle(wav, static_cast<std::uint32_t>(static_cast<std::int16_t>(9000 * std::sin(phase))), 2);
    }
    return wav;
}

std::string noise(unsigned number, std::size_t length)
{
    std::mt19937_64 random(number);
    std::string bytes;
    bytes.reserve(length + 8);
    while (bytes.size() < length) {
        const auto value = random();
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    bytes.resize(length);
    return bytes;
}

} // namespace localb2
