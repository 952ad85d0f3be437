#pragma once

#include "localb2/Core.h"

#include <string_view>

namespace localb2 {

/// Answers requests under `/_local/`: faults, clock, history and whatever else a test controls. Needs no token, and
/// refuses web pages.
Answer serveControl(Core& core, const Request& request, std::string_view path);

} // namespace localb2
