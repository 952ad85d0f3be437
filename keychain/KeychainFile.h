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
/// What opens it is made of a passphrase (Argon2id), or is a random key in a file of its own beside it. A file that
/// cannot be opened fails as `damaged` and stays as it is, until a new key has to be stored: then it is set aside,
/// never overwritten. From any thread, and blocks: for up to 5 seconds while another process has the file, and about
/// one second to make a key of a passphrase. Every member throws Keychain::Failure.
class KeychainFile {
public:
    struct Entry {
        KeychainItem item;
        Secret secret;
    };
    using Entries = std::vector<Entry>;

    /// @param directory  created, for its owner alone, with the first item.
    explicit KeychainFile(std::filesystem::path directory);

    /// What the file holds; nothing when there is none.
    Entries read();

    /// Changes what the file holds.
    void change(const std::function<void(Entries&)>& edit);

    /// As `change`, and begins a new file where the old one cannot be opened.
    /// @returns what was set aside, as a sentence; nothing when the file was opened.
    std::optional<std::string> add(const std::function<void(Entries&)>& edit);

    /// Opens a file that has a passphrase.
    void unlock(const Secret& passphrase);

    /// Encrypts the file by a passphrase from now on, or by a key file when `next` is empty.
    ///
    /// A file that has a passphrase takes another only from whoever knows it; without one, `current` does not count.
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
    std::string passphraseSalt_; ///< The key is of the file with this salt.
};
