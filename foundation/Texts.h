#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

/// Texts for numbers, in the user's locale. Callable from any thread.

/// A size in decimal units: "1 byte", "512 bytes", "13 KB", "1.2 MB", "2.05 GB".
std::string sizeText(std::int64_t bytes);

/// A count with its noun, which is singular for exactly 1: "1 file", "2 files", "0 files".
std::string countText(std::int64_t count, std::string_view singular, std::string_view plural);

/// Hours and minutes, to the nearest minute: "2h 5m", "3m"; "<1m" for less than half a minute.
std::string durationText(double seconds);

/// Date and time of the day in the local time zone, in the locale's short form.
std::string dateText(std::chrono::system_clock::time_point date);

/// How long ago, in the largest unit that fits: "just now" below 45 seconds, "1 minute ago", "3 days ago".
std::string agoText(std::chrono::system_clock::time_point date, std::chrono::system_clock::time_point now);

/// Returns the text on one line: line breaks and other control characters become visible marks, so that it cannot
/// forge another line.
std::string singleLine(std::string_view text);
