#pragma once

#include "localb2/Core.h"

#include <vector>

namespace localb2 {

/// Locates bytes [offset, offset + length) of a version. Needs the core's lock.
std::vector<Slice> slicesOf(Core& core, const FileVersion& version, std::int64_t offset, std::int64_t length);

/// Erases a version with its parts and the bodies that nothing else uses; part of a `Change`.
void eraseWithContent(Core& core, const FileVersion& version);

} // namespace localb2
