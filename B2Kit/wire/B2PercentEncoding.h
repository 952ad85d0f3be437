#pragma once

#include <optional>
#include <string>
#include <string_view>

/// A file name for a header or a path: UTF-8, everything percent-encoded but letters, digits, `-._~` and `/`.
std::string percentEncodedName(std::string_view name);

/// Any other text (a `fileInfo` value, a query item): as a name, and `/` is encoded too.
std::string percentEncoded(std::string_view text);

/// Reads what the service encoded; a plus stands for a blank there, since it writes a literal plus as `%2B`.
///
/// @returns nothing when an escape is damaged or the outcome is no UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);
