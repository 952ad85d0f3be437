#pragma once

#include "B2Kit/B2Key.h"
#include "accounts/StoredKey.h"

#include <optional>
#include <string>

/// What the sheet of a key's details shows.
struct KeyInspection {
    B2ApplicationKey key; ///< As the service lists it, or as the session's own sign-in describes it.
    StoredKey stored;
    bool isCurrent = false;
    bool isMaster = false;
    /// The service did not list the key: what is shown comes from its own sign-in.
    bool describedBySignIn = false;
    std::optional<std::string> backblazeName; ///< The name at the service, if it told one.

    bool operator==(const KeyInspection&) const = default;
};
