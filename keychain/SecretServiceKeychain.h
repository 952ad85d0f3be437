#pragma once

#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "keychain/Keychain.h"
#include "keychain/KeychainItems.h"

#include <chrono>
#include <memory>

class SecretServiceStore;

/// Keeps keys in the desktop's keyring, through the Secret Service of D-Bus: one item holds everything about a key.
///
/// A locked keyring asks the user. Reading asks once; after a dismissal it asks again only once a key is used or
/// changed, or after `askAgain`. The first call that finds no service fails as `noSecretService`; a service that was
/// there earlier and is gone fails as `serviceEnded`.
class SecretServiceKeychain final : public Keychain {
public:
    /// @param settings  say whether keys are shared with other computers.
    SecretServiceKeychain(
        Settings& settings, ActivityLog& log, std::chrono::milliseconds limit = std::chrono::seconds(5));
    ~SecretServiceKeychain() override;

    /// Opens the session with the service. @throws Failure
    Task<> open();

    Task<std::vector<KeychainEntry>> entries() override;
    Task<std::optional<Secret>> secret(std::string keyID) override;
    Task<> save(std::string keyID, Secret secret, std::optional<std::string> label,
        std::optional<std::string> accountID) override;
    Task<> setLabel(std::string keyID, std::string label) override;
    Task<> setAccountID(std::string keyID, std::string accountID) override;
    Task<> remove(std::string keyID) override;
    Task<std::optional<std::string>> accountName(std::string accountID) override;
    Task<> setAccountName(std::string accountID, std::string name) override;
    Task<bool> isShared(std::string keyID) override;
    void stopWaiting() override;
    void askAgain() override;

private:
    bool isSharing() const;
    KeychainQuery current(std::optional<std::string> keyID) const;

    Settings& settings_;
    ActivityLog& log_;
    std::shared_ptr<Keychain*> self_; ///< For the store, which may outlive this.
    std::shared_ptr<SecretServiceStore> store_;
};
