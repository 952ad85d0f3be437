#pragma once

#include "accounts/B2Session.h"

#include <optional>
#include <string>
#include <string_view>

class KeysModel;

/// The content of the pane for the account's keys, and the commands it offers.
struct KeysPane {
    enum class Kind {
        loading, ///< Nothing is known yet.
        notice,  ///< A title, which may be empty, and a text.
        table,
    };

    /// @param session  the current one; rows listed for another are not shown.
    KeysPane(const KeysModel& model, const std::shared_ptr<B2Session>& session);

    Kind kind = Kind::loading;
    std::string title;
    std::string text;
    bool isFailure = false;            ///< The notice is about a failed listing, which can be tried again.
    bool isRefused = false;            ///< The key may not list keys.
    std::optional<std::string> banner; ///< Shown above the rows.

    // Why a command is disabled, or nothing.
    std::optional<std::string> newRefusal;
    std::optional<std::string> deleteRefusal;
    std::optional<std::string> refreshRefusal;

    static constexpr std::string_view newHelp = "Create a key, scoped to the buckets and permissions it needs";
    static constexpr std::string_view deleteHelp = "Revoke the selected keys immediately and for good";
    static constexpr std::string_view refreshHelp = "Read the key list from Backblaze again";
};
