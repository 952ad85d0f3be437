#pragma once

#include "localb2/Core.h"
#include "localb2/Wire.h"

namespace localb2 {

/// Serves one connection's requests one after another, until either side ends it.
void serveConnection(Wire& wire, Core& core);

} // namespace localb2
