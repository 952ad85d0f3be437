#pragma once

#include "B2Kit/B2Key.h"

#include <string>
#include <string_view>

/// The texts of the sheet for a key just created, and when it may close.
struct CreatedKeyRules {
    bool hasCopied = false;       ///< The secret is on the clipboard.
    bool hasAcknowledged = false; ///< The user has confirmed that it is saved somewhere safe.
    bool isAdding = false;        ///< The key is being stored at this moment.

    /// The secret is never returned again, so the sheet stays until closing it cannot lose the secret.
    bool mayClose() const { return !isAdding && (hasCopied || hasAcknowledged); }

    static constexpr std::string_view title = "Copy this key now";
    static constexpr std::string_view warning = "Backblaze shows the applicationKey once and never again. Close this "
                                                "without copying it and it is gone for good.";
    static constexpr std::string_view closeRefusal =
        "Copy the key first, or tick that you have saved the applicationKey.";

    /// @param place  where keys are kept.
    static std::string addText(std::string_view place)
    {
        return "Stored in " + std::string(place)
            + " so Kestrovan can connect with it, and listed alongside your other keys. Kestrovan stays signed in with "
              "the key you are using now.";
    }

    /// For a key that was requested twice because the first answer was lost.
    ///
    /// @param foundID  another key of that name that has appeared since; empty if none was seen.
    static std::string twinNote(const std::string& name, const std::string& foundID = {})
    {
        if (foundID.empty())
            return "Backblaze's first answer was lost, so a second key named “" + name
                + "” may exist whose applicationKey nobody knows. If the list of keys shows it, delete it there.";
        return "Backblaze's first answer was lost, and there is now a second key named “" + name
            + "” whose applicationKey nobody knows. Its keyID is " + foundID + ". Delete it in the list of keys.";
    }

    /// The text for the clipboard: three lines, the last without a line end.
    static std::string clipboardText(const B2CreatedApplicationKey& created)
    {
        return "keyName: " + created.key.keyName + "\nkeyID: " + created.key.applicationKeyID
            + "\napplicationKey: " + created.applicationKey;
    }

    static std::string addFailure(const std::string& reason)
    {
        return "Could not store the key: " + reason + " Copy it before closing this.";
    }
};
