#pragma once

#include "keychain/KeychainItems.h"

#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Items and their secrets in one encrypted file that only its owner can read (0600), replaced in one step.
///
/// The encryption key is derived from a passphrase (Argon2id), or is random and kept in a key file beside it. A file
/// that cannot be opened fails as `damaged` and stays as it is, until a new key has to be stored: then it is set aside,
/// never overwritten. Called from any thread, and blocks: for up to 5 seconds while another process uses the file, and
/// about one second to derive a key from a passphrase. Every member throws Keychain::Failure.
class KeychainFile {
public:
    struct Entry {
        KeychainItem item;
        Secret secret;
    };
    using Entries = std::vector<Entry>;

    /// @param directory  created with the first item, for its owner alone.
    explicit KeychainFile(std::filesystem::path directory);

    /// Returns the entries; none when there is no file.
    Entries read();

    /// Changes the entries.
    void change(const std::function<void(Entries&)>& edit);

    /// Like `change`, but starts a new file when the present one cannot be opened.
    /// @returns a sentence about the file that was set aside; nothing when the file could be opened.
    std::optional<std::string> add(const std::function<void(Entries&)>& edit);

    /// Unlocks a file that has a passphrase.
    void unlock(const Secret& passphrase);

    /// Encrypts the file with a passphrase from now on, or with a key file when `next` is empty.
    ///
    /// A file that has a passphrase requires it as `current`; without one, `current` is ignored.
    void setPassphrase(const Secret& current, const Secret& next);

    bool hasPassphrase();
    bool needsPassphrase();

    std::filesystem::path path() const { return directory_ / "keys.box"; }
    std::filesystem::path keyPath() const { return directory_ / "keys.key"; }

private:
    class Lock;
    struct Header;

    enum class WhenClosed { fail, setAside };

    std::optional<std::string> edited(const std::function<void(Entries&)>& edit, WhenClosed whenClosed);
    std::optional<std::string> readBox();
    Header headerOf(const std::string& box);
    Entries open(const std::string& box);
    Secret keyFor(const Header& header);
    Secret keyFromFile(const Header& header);
    Secret verifiedKey(const Secret& passphrase, const Header& header, const std::string& refusal);
    Secret makeKeyFile();
    void write(const Entries& entries, const Header& header, const Secret& key);
    Keychain::Failure cannotOpen(const std::string& reason, const std::string& help) const;
    Keychain::Failure damaged() const;
    std::string setAside();

    std::mutex mutex_;
    const std::filesystem::path directory_;
    Secret passphraseKey_;
    std::string passphraseSalt_; ///< Of the file that `passphraseKey_` opens.
};
