#pragma once

#include "keychain/FileKeychain.h"
#include "keychain/SecretServiceKeychain.h"

#include <filesystem>

/// The keys of a normal run: in the desktop's keyring, or in a file of the user's own where there is none.
///
/// The first operation that finds no Secret Service is repeated with the file, and the whole process stays with it.
/// A keyring that was there and fails, for whatever reason, is never replaced by the file. A keyring that is there at
/// last takes over what the file holds; what cannot be moved stays in the file, and `remark` says so.
class SystemKeychain final : public Keychain {
public:
    /// @param directory  where the file lies if there is one.
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
    /// The store of this process.
    Task<Keychain*> chosen();
    /// Moves the file's keys into the keyring. @returns whether there is nothing left to try.
    Task<bool> takeOverFile();

    ActivityLog& log_;
    const std::filesystem::path path_;
    SecretServiceKeychain keyring_;
    FileKeychain file_;
    bool hasOpened_ = false; ///< The keyring has answered once.
    bool isTakingOver_ = false;
    bool hasTakenOver_ = false; ///< What the file held.
};
