#pragma once

#include "accounts/KeyStore.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"

#include <optional>
#include <string>
#include <string_view>

/// A key seen at the service that is to be stored here as well.
struct KnownKey {
    std::string keyID;
    std::string name;

    bool operator==(const KnownKey&) const = default;
};

/// Which session is used after a key was added.
enum class AfterAdding { switchToNewKey, keepSession };

/// The model of the add-key sheet: has the service check the key, then stores it.
///
/// Lives on the main thread as long as its sheet. Destroying it ends the check; nothing is stored then, unless the call
/// to the secret store had already begun.
class AddKeyModel final : public Observable {
public:
    AddKeyModel(KeyStore& store, std::optional<KnownKey> known, AfterAdding after);

    Observed<bool> isValidating{this, false};
    /// Why the key was not added, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    /// Takes the failure as seen.
    void dismissError() { error = std::nullopt; }
    Observed<std::optional<std::string>> addedKeyID{this}; ///< Set once, when the key is stored.

    const std::optional<KnownKey>& known() const { return known_; }

    /// Why the key cannot be added as typed; nothing when it can. The name is not required.
    std::optional<std::string> refusal(std::string_view keyID, bool hasApplicationKey) const;
    std::string verb() const;
    /// Says what is awaited while the key is checked.
    std::string progressText() const;
    /// Explains where the secret will be kept; nothing for the desktop's own store.
    std::optional<std::string> storeNote() const;

    /// Checks and stores the key; the outcome is left in the fields.
    void submit(std::string label, std::string keyID, Secret applicationKey);
    /// Ends a wait for the secret store to be unlocked.
    void stopWaiting();

private:
    KeyStore& store_;
    std::optional<KnownKey> known_;
    AfterAdding after_;
    TaskScope tasks_;
};
