#pragma once

#include "B2Kit/B2Authorization.h"
#include "browser/BrowserRow.h"

#include <optional>
#include <string>
#include <vector>

/// Decides which commands the browser offers for the selected rows, and why not. Functions of values.

/// Why nothing can be listed with this key; nothing when it can.
std::optional<std::string> listRefusal(const B2Authorization& key);

/// Why nothing can be uploaded with this key; nothing when it can.
std::optional<std::string> uploadRefusal(const B2Authorization& key);

/// Why these rows cannot be downloaded; nothing when they can.
std::optional<std::string> downloadRefusal(const B2Authorization& key, const std::vector<const BrowserRow*>& rows);

/// Why a prefix cannot be opened with this key; nothing when it can.
std::optional<std::string> prefixRefusal(const B2Authorization& key, const std::string& prefix);
