#pragma once

#include "accounts/KeySheetTexts.h"
#include "accounts/KeyStore.h"
#include "accounts/keys/KeyInspection.h"
#include "foundation/Notices.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"
#include "foundation/settings/Settings.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

/// The operations on the keys that the program stores, as opposed to those at the service (`KeysModel`): choosing,
/// naming, unlocking and removing them.
///
/// A failure that no sheet shows, an outcome worth a sentence and the keychain's remarks are posted as notices. Lives
/// on the main thread as long as the process; changes of the key store are passed on.
class StoredKeys final : public Observable {
public:
    /// All of them outlive this.
    StoredKeys(KeyStore& store, Settings& settings, Notices& notices);

    /// The user's first connection was made, and the sheet that says so has not been shown.
    Observed<bool> isShowingConnected{this, false};
    /// Takes that sheet as shown.
    void dismissConnected();

    KeyStore& store() const { return store_; }
    Keychain& keychain() const { return store_.keychain(); }

    // --- Reading and connecting

    /// Connects with the key of the last run, or with the first one; does nothing without keys.
    Task<> connectLastUsed();
    /// Reads the stored keys again: another program may have changed them. Connects when that brings the first key.
    void reload();
    /// The same at the user's request: a keyring whose question was dismissed may ask once more.
    void reloadAskingAgain();
    /// Ends a wait for the secret store to be unlocked; what waited fails.
    void stopWaiting();

    // --- Changes

    void rename(StoredKey key, std::string name);
    void renameAccount(std::string accountID, std::string name);
    /// Opens the file of keys and reads it, even when the sheet that asked was closed in the meantime.
    /// @throws Keychain::Failure with a sentence when the passphrase is wrong or the file cannot be read.
    Task<> unlock(Secret passphrase);
    /// Sets, changes or removes the passphrase of that file, and posts that it was done.
    /// @throws as `unlock`; nothing was changed then.
    Task<> setPassphrase(Secret current, Secret next, PassphraseChange change);

    // --- What is known

    /// The session's key.
    std::optional<std::string> currentKeyID() const;
    bool isCurrent(const StoredKey& key) const;
    /// The key that commands without a choice are about: the session's, or the one that could not connect.
    std::optional<StoredKey> keyInUse() const;
    /// The key's name at the service; empty when it is not known.
    std::string serviceName(const StoredKey& key) const;
    /// The key's record in the complete listing, or in the session's own sign-in; nothing for any other key.
    std::optional<KeyInspection> inspection(const StoredKey& key) const;
    /// Which account the session belongs to, and with which key; nothing without a session.
    std::optional<std::string> connectedText() const;
    /// Why the last switch of keys failed while the earlier session goes on; nothing otherwise.
    std::optional<std::string> switchFailure() const;
    void dismissSwitchFailure();
    /// The keys as a menu lists them, grouped by account; those of unknown accounts last.
    std::vector<KeyMenuEntry> menu() const;

    /// Asks every task to stop and waits for their ends.
    Task<> shutDown();

private:
    void followStore();
    void followSession();
    void followKeychain();
    Task<> runReload();
    Task<> runRename(StoredKey key, std::string name);
    Task<> runRenameAccount(std::string accountID, std::string name);
    void postFailedRename(const std::string& name);

    KeyStore& store_;
    Settings& settings_;
    Notices& notices_;
    std::set<std::string> keysWithoutSecret_; ///< Found out when they were to connect.
    std::optional<std::string> postedRemark_; ///< The keychain's.
    TaskScope tasks_;
};
