#pragma once

#include "localb2/Core.h"

#include <string_view>

namespace localb2 {

/// Answers under `/_local/`: faults, clock, history and what else a test steers. Needs no token, and is refused to
/// web pages.
Answer serveControl(Core& core, const Request& request, std::string_view path);

} // namespace localb2
