#pragma once

#include "accounts/switcher/KeySummary.h"

#include <chrono>
#include <optional>
#include <string>

/// Describes what a key may do, where and how long. Functions of values, in the user's locale and time zone.

/// The expiry of a key is counted in days from this many days ahead.
inline constexpr int nearExpiryDays = 30;
/// The expiry of a key is worth a warning from this many days ahead.
inline constexpr int soonExpiryDays = 7;

/// Describes what the key may do in a sentence or two, without the last full stop.
///
/// @param isMaster  the account's master key may do everything, even what its sign-in does not list yet.
std::string permitsText(const KeySummary& summary, bool isMaster);

/// Which buckets and names the key reaches: "All buckets", "photos only, names starting with “2025/”".
std::string reachesText(const KeySummary& summary);

/// When the key expires: "Never", "Expired {date}.", "Expires tomorrow", "12 days", or the date. Nothing when unknown.
std::optional<std::string> expiresText(const KeySummary& summary, std::chrono::system_clock::time_point now);

/// Has the key expired, or will it within a few days?
bool expiresSoon(const KeySummary& summary, std::chrono::system_clock::time_point now);

/// A mark for a key that expires soon: "Expired", "Expires tomorrow", "3 days"; nothing for any other.
std::optional<std::string> expiryFlag(const KeySummary& summary, std::chrono::system_clock::time_point now);

/// Sums up the limits of the key: "photos only · Read only". Nothing for a key without limits.
std::optional<std::string> restrictionText(const KeySummary& summary, bool isMaster);

/// What a restricted key can do: "This key can browse and download. Actions it cannot perform are disabled."
std::string abilityText(const KeySummary& summary);
