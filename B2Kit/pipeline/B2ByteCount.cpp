#include "B2Kit/pipeline/B2ByteCount.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace {

struct Unit {
    double bytes;
    int fractionDigits;
    const char* name;
};

constexpr std::array units{Unit{1e3, 0, "KB"}, Unit{1e6, 1, "MB"}, Unit{1e9, 2, "GB"}, Unit{1e12, 2, "TB"},
    Unit{1e15, 2, "PB"}, Unit{1e18, 2, "EB"}};

std::string withoutTrailingZeros(std::string digits)
{
    if (digits.find('.') == std::string::npos)
        return digits;
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.')
        digits.pop_back();
    return digits;
}

} // namespace

std::string formatByteCount(std::int64_t bytes)
{
    if (bytes == 1 || bytes == -1)
        return fmt::format("{} byte", bytes);
    if (bytes > -1000 && bytes < 1000)
        return fmt::format("{} bytes", bytes);
    for (const Unit& unit : units) {
        const double scale = std::pow(10.0, unit.fractionDigits);
        const double rounded = std::round(static_cast<double>(bytes) / unit.bytes * scale) / scale;
        // 999,999 bytes are 1 MB and not 1000 KB.
        if (std::abs(rounded) < 1000 || &unit == &units.back())
            return fmt::format(
                "{} {}", withoutTrailingZeros(fmt::format("{:.{}f}", rounded, unit.fractionDigits)), unit.name);
    }
    return {};
}
