#pragma once

#include "foundation/log/ActivityLog.h"
#include "keychain/Keychain.h"
#include "keychain/KeychainFile.h"

#include <filesystem>
#include <memory>

/// The legacy store: keys in an encrypted file of the user's own, where the desktop has no keyring.
///
/// Blocking work runs on a background thread; a stop request does not interrupt it.
class FileKeychain final : public Keychain {
public:
    FileKeychain(const std::filesystem::path& directory, ActivityLog& log);

    Task<std::vector<KeychainEntry>> entries() override;
    Task<std::optional<Secret>> secret(std::string keyID) override;
    Task<> save(std::string keyID, Secret secret, std::optional<std::string> label,
        std::optional<std::string> accountID) override;
    Task<> setLabel(std::string keyID, std::string label) override;
    Task<> setAccountID(std::string keyID, std::string accountID) override;
    Task<> remove(std::string keyID) override;
    Task<std::optional<std::string>> accountName(std::string accountID) override;
    Task<> setAccountName(std::string accountID, std::string name) override;
    Task<> unlockLegacyStore(Secret passphrase) override;
    Task<> setLegacyPassphrase(Secret current, Secret next) override;

private:
    /// Runs work on the file, then updates whether it has a passphrase and needs it.
    template <class Work>
    Task<std::invoke_result_t<Work, KeychainFile&>> onFile(Work work);

    ActivityLog& log_;
    std::shared_ptr<FileKeychain*> self_;
    std::shared_ptr<KeychainFile> file_;
};
