#pragma once

#include "B2Kit/B2Key.h"
#include "accounts/StoredKey.h"

#include <optional>
#include <string>

/// A key as the details sheet shows it.
struct KeyInspection {
    B2ApplicationKey key; ///< From the service's listing, or from the session's own sign-in.
    StoredKey stored;
    bool isCurrent = false;
    bool isMaster = false;
    /// The service did not list the key: the record comes from its own sign-in.
    bool describedBySignIn = false;
    std::optional<std::string> backblazeName; ///< The name at the service, if known.

    bool operator==(const KeyInspection&) const = default;
};
