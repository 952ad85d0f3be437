#pragma once

#include "B2Kit/wire/B2OpenText.h"

#include <set>
#include <span>

/// Something that a key may do. Open: an unknown capability is kept.
using B2Capability = B2OpenText<struct B2CapabilityTag>;

namespace B2Capabilities {

inline const B2Capability listBuckets{"listBuckets"};
inline const B2Capability writeBuckets{"writeBuckets"};
inline const B2Capability deleteBuckets{"deleteBuckets"};
inline const B2Capability listFiles{"listFiles"};
inline const B2Capability readFiles{"readFiles"};
inline const B2Capability shareFiles{"shareFiles"};
inline const B2Capability writeFiles{"writeFiles"};
inline const B2Capability deleteFiles{"deleteFiles"};
inline const B2Capability listKeys{"listKeys"};
inline const B2Capability writeKeys{"writeKeys"};
inline const B2Capability deleteKeys{"deleteKeys"};

/// All known capabilities, in the order in which they are shown and stored.
std::span<const B2Capability> all();

/// The capabilities that a key restricted to a bucket cannot have.
const std::set<B2Capability>& accountOnly();

} // namespace B2Capabilities
