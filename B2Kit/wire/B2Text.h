#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts that come from elsewhere: files, answers and fields of a form.

bool isUTF8(std::string_view text);

/// The text without the blanks and line ends around it.
std::string trimmed(std::string_view text);

/// The text with each control character replaced by a blank, so that it cannot begin a line of its own.
std::string oneLine(std::string_view text);

/// The text itself, or its first characters and "…" when it has more bytes than that. Cuts no UTF-8 character.
std::string clipped(std::string text, std::size_t maximumBytes);
