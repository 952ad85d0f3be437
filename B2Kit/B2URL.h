#pragma once

#include <string>
#include <string_view>

// Inside B2Kit: the addresses that calls go to.

/// Refuses an address that a token must not be sent to: anything but https, or http on a loopback address; user names;
/// blanks and control characters.
///
/// @throws B2Error (`InvalidURL`)
void requireTrustedURL(const std::string& url);

/// The base address without slashes at its end, then a path that begins with one.
std::string appendingPath(std::string_view base, std::string_view path);
