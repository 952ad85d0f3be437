#pragma once

#include "accounts/ConnectionFailure.h"
#include "accounts/StoredKey.h"
#include "shell/PaneSelection.h"

#include <optional>
#include <string>
#include <string_view>

/// What the detail area is decided from.
struct DetailInputs {
    bool isStarted = false;
    bool isStartSlow = false; ///< The keyring has not answered for a while.
    bool isConnecting = false;
    bool hasSession = false;
    bool isLoadingBuckets = false;
    std::size_t bucketCount = 0;
    std::size_t keyCount = 0;
    bool isWaitingForUnlock = false;         ///< The desktop asks for the keyring's password.
    bool needsPassphrase = false;            ///< The file that keeps the secrets is closed.
    std::optional<std::string> storeFailure; ///< Why the stored keys could not be read, as a sentence.
    std::optional<ConnectionFailure> failure;
    std::string attemptedLabel;                ///< Name of the key that was tried last; empty for none.
    std::optional<std::string> bucketsError;   ///< Why the bucket list could not be read.
    std::optional<std::string> bucketsRefusal; ///< Why the key can be shown no bucket, whatever is tried.
    std::string noBucketsText;                 ///< What an empty list means with this key.
    std::optional<SidebarItem> selection;
    bool isSelectionListed = false; ///< The selected bucket is in the list.
};

/// What the detail area shows.
struct DetailState {
    enum class Kind {
        nothing, ///< Before the keys were read.
        welcome, ///< No key is stored: fills the window.
        connecting,
        notice, ///< A title, a text and what can be done.
        pane,   ///< The one of `item`.
    };

    /// What the first button of a notice does.
    enum class Action { none, connectAgain, readBuckets, readKeys, stopWaiting, unlock };

    Kind kind = Kind::nothing;
    ConnectionNotice notice;
    Action action = Action::none;
    SidebarItem item; ///< Of a pane.

    bool operator==(const DetailState&) const = default;
};

/// The word on the button of an action; empty for none.
std::string_view verbOf(DetailState::Action action);

DetailState decideDetail(const DetailInputs& inputs);
