#pragma once

#include "B2Kit/B2Authorization.h"

#include <chrono>
#include <optional>
#include <string>

/// What to say while connected with a key that stops working within a week or has done so, as a sentence; nothing for
/// every other.
///
/// @param label  the key's name here.
std::optional<std::string> expiryNotice(
    const std::string& label, const B2Authorization& key, std::chrono::system_clock::time_point now);

/// Why the service refuses a key whose time is over, as a sentence; nothing for one that should still work.
std::optional<std::string> endedKeyText(const B2Authorization& key, std::chrono::system_clock::time_point now);
