#pragma once

#include "keychain/KeychainItems.h"
#include "keychain/SecretServiceLink.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The program's items in the desktop's Secret Service: one for each key and for each named account.
///
/// An actor on the GLib executor. Each call has its own time limit and throws Keychain::Failure.
class SecretServiceStore final : public Actor {
public:
    SecretServiceStore(std::function<void(bool)> onWaiting, std::chrono::milliseconds limit);

    /// Returns once there is a session with the service.
    Task<> probe();

    Task<std::vector<KeychainItem>> items(KeychainQuery query);
    Task<std::optional<Secret>> secret(KeychainQuery query);
    /// Stores the item in place of all others of its service and account. Those are removed only after the new one was
    /// read back.
    Task<> save(KeychainItem item, Secret secret);
    /// Both change every item that the query finds and skip any that disappears in the meantime. @returns how many.
    Task<int> setLabel(KeychainQuery query, std::string label);
    Task<int> setGeneric(KeychainQuery query, std::string generic);
    Task<> remove(KeychainQuery query);

    Task<> stopWaiting();
    Task<> askAgain();

private:
    using Items = std::vector<GObjectPtr<SecretItem>>;

    Task<Items> search(KeychainQuery query, TimeLimit& limit);
    /// Unlocks the collection that new items go to.
    Task<> unlockDefault(Asking asking, TimeLimit& limit);
    /// Returns the items of the query, unlocked, the oldest first.
    Task<Items> find(KeychainQuery query, Asking asking, TimeLimit& limit);
    Task<std::optional<Secret>> load(SecretItem* item, TimeLimit& limit);
    Task<> removeItem(SecretItem* item, TimeLimit& limit);

    SecretServiceLink link_;
    const std::chrono::milliseconds limit_;
};
