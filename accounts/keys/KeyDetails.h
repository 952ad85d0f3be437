#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Key.h"
#include "keychain/Keychain.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Everything known about a key whose details are shown.
struct KeyDetailsInputs {
    B2ApplicationKey key;
    std::vector<B2Bucket> buckets; ///< Those the session can see, for their names.
    bool isCurrent = false;        ///< The session's own key.
    bool isStored = false;
    std::string_view keyPlace = Keychain::usualPlace; ///< Where stored keys are kept.
    std::string storedLabel;                          ///< The name in the store; empty or "Unnamed key" without one.
    bool isMaster = false;
    /// The record comes from the session's sign-in, which has neither name nor lifetime.
    bool describedBySignIn = false;
    std::chrono::system_clock::time_point now;
};

/// The texts of the details sheet.
struct KeyDetails {
    explicit KeyDetails(const KeyDetailsInputs& inputs);

    static constexpr std::string_view fixedText = "B2 has no way to change a key. To grant more or less than this, "
                                                  "create a new key and delete this one.";

    struct Granted {
        std::string group;
        std::vector<std::string> titles;

        bool operator==(const Granted&) const = default;
    };

    std::string title;
    std::string backblazeName; ///< Or why there is none to show.
    std::string kestrovanName;
    std::string nameNote;
    bool differsInName = false; ///< The store's name could be replaced by the one at the service.
    std::string reach;          ///< One bucket per line.
    std::string reachNote;      ///< Empty when the reach needs no remark.
    std::string prefix;         ///< Empty without one.
    std::string expires;
    std::vector<Granted> granted; ///< In the order of the groups; those in no group come last, under "Other".
    std::string grantedNote;      ///< Shown instead of permissions when there are none.
    std::string storage;
};
