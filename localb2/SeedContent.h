#pragma once

#include <cstdint>
#include <string>

namespace localb2 {

// Contents of seeded files: small, real, and the same for the same number.

/// A landscape of 320 by 200 points.
std::string pngPicture(unsigned number);

/// A round badge in one of several colours.
std::string svgBadge(unsigned number);

/// Paragraphs of plain words.
std::string plainText(unsigned number, int paragraphs);

/// A table with a header line.
std::string csvTable(unsigned number, int rows);

/// A tone that falls; 88,200 bytes a second.
std::string wavTone(unsigned number, int seconds);

/// Random bytes.
std::string noise(unsigned number, std::size_t length);

} // namespace localb2
