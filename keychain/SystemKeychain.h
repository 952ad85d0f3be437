#pragma once

#include "keychain/FileKeychain.h"
#include "keychain/SecretServiceKeychain.h"

#include <filesystem>

/// Keeps the keys of a normal run in the desktop's keyring, or in a private file where there is none.
///
/// The first operation that finds no Secret Service is repeated with the file, which then serves the whole process. A
/// keyring that was there and fails, for whatever reason, is never replaced by the file. Once there is a keyring, the
/// keys in the file move into it; those that cannot be moved stay in the file, and `remark` says so.
class SystemKeychain final : public Keychain {
public:
    /// @param directory  of the file.
    SystemKeychain(Settings& settings, ActivityLog& log, const std::filesystem::path& directory);

    Task<> probeOnce() override;
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
    std::filesystem::path legacyStorePath() const override { return path_; }
    Task<> unlockLegacyStore(Secret passphrase) override;
    Task<> setLegacyPassphrase(Secret current, Secret next) override;

private:
    /// Returns the store of this process.
    Task<Keychain*> chosen();
    /// Moves the file's keys into the keyring. @returns whether nothing is left to try.
    Task<bool> takeOverFile();

    ActivityLog& log_;
    const std::filesystem::path path_;
    SecretServiceKeychain keyring_;
    FileKeychain file_;
    bool hasOpened_ = false; ///< The keyring has answered.
    bool isTakingOver_ = false;
    bool hasTakenOver_ = false; ///< The file's keys.
};
