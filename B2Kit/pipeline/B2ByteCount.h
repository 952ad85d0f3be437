#pragma once

#include <cstdint>
#include <string>

/// A size to read, in decimal units: "0 bytes", "1 byte", "12 KB", "1.2 MB", "3.45 GB".
///
/// At most one fraction digit for megabytes and two from gigabytes up, without trailing zeros. For log lines and
/// error texts; tables of a window have their locale's own format.
std::string formatByteCount(std::int64_t bytes);
