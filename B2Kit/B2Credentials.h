#pragma once

#include "B2Kit/Secret.h"

#include <string>

/// An application key: its id and its secret half.
struct B2Credentials {
    std::string keyID;
    Secret applicationKey;

    bool operator==(const B2Credentials&) const = default;

    /// Shows the key's id and never its secret.
    std::string description() const { return "B2Credentials(keyID: " + keyID + ", applicationKey: <redacted>)"; }
};
