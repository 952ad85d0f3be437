#pragma once

#include "B2Kit/B2Log.h"

#include <optional>
#include <string>

// Inside transfers.

/// Writes a line of category "transfer" to the activity log.
void recordTransfer(B2LogLevel level, std::string message, std::optional<std::string> detail = {});
