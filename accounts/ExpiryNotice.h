#pragma once

#include "B2Kit/B2Authorization.h"

#include <chrono>
#include <optional>
#include <string>

/// Returns a sentence for a key that stops working within a week or has stopped; nothing for any other.
///
/// @param label  the key's name here.
std::optional<std::string> expiryNotice(
    const std::string& label, const B2Authorization& key, std::chrono::system_clock::time_point now);

/// Returns a sentence about why the service refuses an expired key; nothing for a key that should still work.
std::optional<std::string> endedKeyText(const B2Authorization& key, std::chrono::system_clock::time_point now);
