#pragma once

#include "B2Kit/Secret.h"
#include "async/Task.h"
#include "foundation/Observable.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// A stored key as the secret store lists it, without its secret.
struct KeychainEntry {
    std::string keyID;
    std::optional<std::string> name;
    std::optional<std::string> accountID;

    bool operator==(const KeychainEntry&) const = default;
};

/// Stores the secrets. An entry holds everything about a key: its secret, its name and its account.
///
/// Lives on the main thread and never blocks it: a call to the store ends within 5 seconds. Waiting for the user to
/// unlock the store is not counted; it shows in `isWaitingForUnlock` and ends with `stopWaiting`. A cancelled task ends
/// at once with `Cancelled`; a write it had begun may or may not take effect.
class Keychain : public Observable {
public:
    /// Why a store failed. The numbers are those that Keychain Services uses.
    enum class Status : std::int32_t {
        itemNotFound = -25300,    ///< Not a failure of an update or a removal.
        noSecretService = -34018, ///< The desktop has none: the legacy store is used instead.
        locked = -25308,          ///< And the user cannot be asked to unlock it.
        dismissed = -128,         ///< The user did not unlock it.
        tooSlow = -25291,         ///< No answer within 5 seconds.
        serviceEnded = -25295,    ///< The service ended during the call.
        wrongPassphrase = -25293, ///< Of the legacy store; or none was given yet.
        damaged = -67049,         ///< The legacy store's file, or its key file.
        cannotWrite = -61,        ///< The legacy store's file or folder.
        refused = -50,            ///< Any other failure of the store.
    };

    /// Why the store could not do what it was asked, as a sentence to show.
    struct Failure : std::runtime_error {
        Failure(Status why, const std::string& sentence)
            : std::runtime_error(sentence)
            , status(why)
        {
        }

        Status status;
    };

    /// A legacy store is used instead of the desktop's for the rest of the process.
    Observed<bool> useLegacyStore{this, false};
    static constexpr std::string_view usualPlace = "your keyring";
    /// Where keys are kept, in the words of a sentence: "your keyring", or "an encrypted file of your own" with the
    /// legacy store.
    virtual std::string_view place() const;

    /// The desktop is asking the user to unlock the store.
    Observed<bool> isWaitingForUnlock{this, false};
    /// The legacy store cannot be read before `unlockLegacyStore` gives it the passphrase.
    Observed<bool> needsPassphrase{this, false};
    /// The user has set a passphrase for the legacy store.
    Observed<bool> hasPassphrase{this, false};
    /// The latest sentence for the user about keys that are not available, or no longer.
    Observed<std::optional<std::string>> remark{this};

    /// Decides where the secrets of this process are kept; awaited before the first read. Never fails.
    virtual Task<> probeOnce();

    /// Every stored key, sorted by key id.
    virtual Task<std::vector<KeychainEntry>> entries() = 0;

    /// The secret of a key, or nothing when the store has none.
    virtual Task<std::optional<Secret>> secret(std::string keyID) = 0;

    /// Stores a key, or replaces its secret. An absent label or account keeps the stored one. A failure leaves the item
    /// as it was.
    virtual Task<> save(
        std::string keyID, Secret secret, std::optional<std::string> label, std::optional<std::string> accountID) = 0;

    // Writing to a key that is not stored, or removing it, does nothing.
    virtual Task<> setLabel(std::string keyID, std::string label) = 0;
    virtual Task<> setAccountID(std::string keyID, std::string accountID) = 0;
    virtual Task<> remove(std::string keyID) = 0;

    /// The user's name for an account, or nothing when none is stored.
    virtual Task<std::optional<std::string>> accountName(std::string accountID) = 0;
    /// Ignores blanks around the name; does nothing for an empty one.
    virtual Task<> setAccountName(std::string accountID, std::string name) = 0;

    /// Is the key shared with the user's other computers? Never in a legacy store.
    virtual Task<bool> isShared(std::string keyID);

    // These return nothing after any failure.
    Task<std::optional<std::string>> label(std::string keyID);
    Task<std::optional<std::string>> accountID(std::string keyID);

    /// Ends the calls that wait for the user: they fail as `dismissed`.
    virtual void stopWaiting();
    /// Allows reading to ask the user once more, after a question was dismissed.
    virtual void askAgain();

    /// The file of the legacy store; empty for a keychain without one.
    virtual std::filesystem::path legacyStorePath() const { return {}; }
    /// Opens a legacy store that has a passphrase.
    /// @throws Failure (`wrongPassphrase`); the store stays locked.
    virtual Task<> unlockLegacyStore(Secret passphrase);
    /// Encrypts the unlocked legacy store with a passphrase from now on, or with a key file when `next` is empty.
    /// `current` matters only where there is a passphrase.
    /// @throws Failure (`wrongPassphrase`) when `current` is wrong; nothing has changed then.
    virtual Task<> setLegacyPassphrase(Secret current, Secret next);
};

/// Explains the legacy store to the user before a key is stored in it.
std::string legacyStoreNote(bool hasPassphrase);
