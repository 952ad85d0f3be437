#include "foundation/Texts.h"

#include "foundation/QtText.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

struct Unit {
    double bytes;
    int decimals;
    std::string_view name;
};

constexpr std::array units{Unit{1e3, 0, "KB"}, Unit{1e6, 1, "MB"}, Unit{1e9, 2, "GB"}, Unit{1e12, 2, "TB"},
    Unit{1e15, 2, "PB"}, Unit{1e18, 2, "EB"}};

/// Returns the number in a unit, rounded as it is shown.
double rounded(double bytes, const Unit& unit)
{
    const double scale = std::pow(10, unit.decimals);
    return std::round(bytes / unit.bytes * scale) / scale;
}

} // namespace

std::string sizeText(std::int64_t bytes)
{
    if (bytes < 1000)
        return countText(bytes, "byte", "bytes");
    const auto exact = static_cast<double>(bytes);
    std::size_t index = 0;
    // The unit follows the rounded number: 999,999 bytes are "1 MB" and not "1,000 KB".
    while (index + 1 < units.size() && rounded(exact, units[index]) >= 1000)
        ++index;
    const Unit& unit = units[index];
    const QLocale locale;
    const double value = rounded(exact, unit);
    int decimals = unit.decimals;
    while (decimals > 0 && std::fmod(std::round(value * std::pow(10, decimals)), 10) == 0)
        --decimals;
    return fromQString(locale.toString(value, 'f', decimals)) + ' ' + std::string(unit.name);
}

std::string countText(std::int64_t count, std::string_view singular, std::string_view plural)
{
    return fromQString(QLocale().toString(static_cast<qlonglong>(count))) + ' '
        + std::string(count == 1 ? singular : plural);
}

std::string durationText(double seconds)
{
    constexpr double maxSeconds = 1e9; // About 30 years.
    const auto minutes = seconds > 0 ? std::llround(std::fmin(seconds, maxSeconds) / 60) : 0;
    if (minutes == 0)
        return "<1m";
    std::string text;
    if (minutes >= 60)
        text = std::to_string(minutes / 60) + "h";
    if (minutes % 60 != 0)
        text += (text.empty() ? "" : " ") + std::to_string(minutes % 60) + "m";
    return text;
}

std::string dateText(std::chrono::system_clock::time_point date)
{
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch());
    return fromQString(QLocale().toString(QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()), QLocale::ShortFormat));
}

std::string agoText(std::chrono::system_clock::time_point date, std::chrono::system_clock::time_point now)
{
    using namespace std::chrono_literals;
    const auto age = now - date;
    const auto count = [&](auto unit, std::string_view singular, std::string_view plural) {
        // 45 seconds and more count as a minute.
        return countText(std::max<std::int64_t>(age / unit, 1), singular, plural) + " ago";
    };
    if (age < 45s)
        return "just now";
    if (age < 1h)
        return count(1min, "minute", "minutes");
    if (age < 24h)
        return count(1h, "hour", "hours");
    if (age < std::chrono::months(1))
        return count(24h, "day", "days");
    if (age < std::chrono::years(1))
        return count(std::chrono::months(1), "month", "months");
    return count(std::chrono::years(1), "year", "years");
}

std::string singleLine(std::string_view text)
{
    std::string line;
    line.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto rest = text.substr(i);
        if (byte == '\t') {
            line += ' ';
        } else if (byte < 0x20) {
            // U+2400 and the following are pictures of the control characters, in the same order.
            line += "\xE2\x90";
            line += static_cast<char>(0x80 + byte);
        } else if (byte == 0x7F) {
            line += "␡";
        } else if (rest.starts_with("\xC2") && rest.size() > 1 && static_cast<unsigned char>(rest[1]) < 0xA0) {
            line += "␤"; // U+0080 to U+009F, the next line mark among them.
            ++i;
        } else if (rest.starts_with("\u2028") || rest.starts_with("\u2029")) {
            line += "␤";
            i += 2;
        } else {
            line += text[i];
        }
    }
    return line;
}
