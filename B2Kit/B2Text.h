#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Inside B2Kit: texts that come from elsewhere and go into a log line or a sentence.

bool isUTF8(std::string_view text);

/// The text with each control character replaced by a blank, so that it cannot begin a line of its own.
std::string oneLine(std::string_view text);

/// The text itself, or its first characters and "…" when it has more bytes than that. Cuts no UTF-8 character.
std::string clipped(std::string text, std::size_t maximumBytes);
