#pragma once

#include <cstdint>
#include <string>

/// Formats a size in decimal units: "0 bytes", "1 byte", "12 KB", "1.2 MB", "3.45 GB".
///
/// At most one fraction digit for megabytes and two from gigabytes up, without trailing zeros. For log lines and
/// error texts; the window's tables use the format of the locale.
std::string formatByteCount(std::int64_t bytes);
