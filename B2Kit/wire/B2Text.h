#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts from outside: files, answers and the fields of a form.

bool isUTF8(std::string_view text);

/// Returns the text without the blanks and line ends around it.
std::string trimmed(std::string_view text);

/// Returns the text with each control character replaced by a blank, so that it stays on one line.
std::string oneLine(std::string_view text);

/// Returns the text, or its first characters and "…" when it has more bytes than that. Cuts no UTF-8 character.
std::string clipped(std::string text, std::size_t maximumBytes);
