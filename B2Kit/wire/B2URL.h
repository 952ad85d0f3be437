#pragma once

#include <string>
#include <string_view>

/// The version of the API that calls go to, and the one that serves keys for a single bucket.
inline constexpr std::string_view b2APIVersion = "v4";
inline constexpr std::string_view b2SingleBucketKeyVersion = "v3";

/// Refuses an address that a token must not be sent to: anything but https, or http on a loopback address; user names;
/// blanks and control characters.
///
/// @throws B2Error (`InvalidURL`)
void requireTrustedURL(const std::string& url);

/// Joins the base address, without slashes at its end, and a path that begins with one.
std::string appendingPath(std::string_view base, std::string_view path);

/// Returns the address of a call: "{base}/b2api/{version}/{operation}".
std::string callURL(std::string_view base, std::string_view version, std::string_view operation);
