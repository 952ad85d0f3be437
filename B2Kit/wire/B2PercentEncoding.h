#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Encodes a file name for a header or a path: everything but letters, digits, `-._~` and `/`, as UTF-8.
std::string percentEncodedName(std::string_view name);

/// Encodes any other text (a `fileInfo` value, a query item) in the same way, but `/` too.
std::string percentEncoded(std::string_view text);

/// Decodes a text of the service, which writes a blank as a plus and a plus as `%2B`.
///
/// @returns nothing when an escape is damaged or the result is not UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);
