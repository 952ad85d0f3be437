#pragma once

#include "accounts/ConnectionFailure.h"
#include "accounts/StoredKey.h"
#include "shell/PaneSelection.h"

#include <optional>
#include <string>
#include <string_view>

/// The facts from which the content of the detail area is decided.
struct DetailInputs {
    bool isStarted = false;
    bool isStartSlow = false; ///< The keyring has not answered for a while.
    bool isConnecting = false;
    bool hasSession = false;
    bool isLoadingBuckets = false;
    std::size_t bucketCount = 0;
    std::size_t keyCount = 0;
    bool isWaitingForUnlock = false;         ///< The desktop asks for the keyring's password.
    bool needsPassphrase = false;            ///< The file with the secrets is locked by a passphrase.
    std::optional<std::string> storeFailure; ///< Why the stored keys could not be read, as a sentence.
    std::optional<ConnectionFailure> failure;
    std::string attemptedLabel;                ///< Name of the key that was tried last; empty for none.
    std::optional<std::string> bucketsError;   ///< Why the bucket list could not be read.
    std::optional<std::string> bucketsRefusal; ///< Why no bucket can be listed with this key at all.
    std::string noBucketsText;                 ///< What an empty list means with this key.
    std::optional<SidebarItem> selection;
    bool isSelectionListed = false; ///< The selected bucket is in the list.
};

/// The content of the detail area.
struct DetailState {
    enum class Kind {
        nothing, ///< Before the keys were read.
        welcome, ///< No key is stored: fills the window.
        connecting,
        notice, ///< A title, a text and the possible actions.
        pane,   ///< The one of `item`.
    };

    /// The effect of a notice's first button.
    enum class Action { none, connectAgain, readBuckets, readKeys, stopWaiting, unlock };

    Kind kind = Kind::nothing;
    ConnectionNotice notice;
    Action action = Action::none;
    SidebarItem item; ///< Of a pane.

    bool operator==(const DetailState&) const = default;
};

/// Returns the title of an action's button; empty for none.
std::string_view verbOf(DetailState::Action action);

DetailState decideDetail(const DetailInputs& inputs);
