#pragma once

#include "B2Kit/B2Key.h"
#include "accounts/B2Session.h"
#include "accounts/ClientFactory.h"
#include "accounts/ConnectionFailure.h"
#include "accounts/StoredKey.h"
#include "foundation/Observable.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "keychain/Keychain.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// The stored keys and the session of the one in use.
///
/// Lives on the main thread as long as the process. A failed attempt to connect leaves the session as it was; a failed
/// connection is reported in the fields and never thrown.
class KeyStore final : public Observable {
    Q_OBJECT

public:
    /// The key to add is already stored.
    struct AddFailure : std::runtime_error {
        explicit AddFailure(const std::string& existingLabel);
    };

    /// No session for another account could be created.
    struct SecondSessionFailure : std::runtime_error {
        enum class Kind { noStoredSecret, noCapableKey, noKeys };

        static SecondSessionFailure noStoredSecret(const std::string& label);
        static SecondSessionFailure noCapableKey(std::vector<std::string> needed, std::vector<std::string> tried);
        static SecondSessionFailure noKeys();

        Kind kind;
        std::vector<std::string> needed; ///< Capabilities, sorted.
        std::vector<std::string> tried;  ///< Each key with the reason against it.

    private:
        SecondSessionFailure(Kind which, const std::string& sentence);
    };

    KeyStore(Keychain& keychain, const ClientFactory& clients, Settings& settings, ActivityLog& log);

    Observed<std::vector<StoredKey>> keys{this};
    Observed<std::shared_ptr<B2Session>> session{this}; ///< Null while not connected.
    Observed<bool> isStarted{this, false};              ///< The stored keys have been read once.
    Observed<bool> isConnecting{this, false};
    Observed<std::optional<ConnectionFailure>> connectionFailure{this};
    Observed<std::optional<StoredKey>> lastAttempted{this};
    Observed<std::map<std::string, std::string>> accountNames{this}; ///< By account id, as stored.
    /// Why the stored keys could not be read the last time, as a sentence to show.
    Observed<std::optional<std::string>> storeFailure{this};

    /// The keys that the current session could list at the service, by key id; complete or empty.
    Observed<std::map<std::string, B2ApplicationKey>> liveKeys{this};
    /// The account `liveKeys` describes; unset when no complete listing was possible.
    Observed<std::optional<std::string>> liveNamesAccountID{this};

    /// Reads the stored keys again. A store that cannot be read leaves the list as it was, and the log says so.
    Task<> reload();

    /// Connects with a stored key; on success it becomes the session.
    Task<> connect(StoredKey key);

    /// Connects again with the key of the last attempt.
    Task<> retry();

    /// Lists the account's keys with the current session into `liveKeys`, which is empty after any failure.
    Task<> loadLiveKeyNames();

    /// Uses a complete listing made elsewhere; does nothing if its session was replaced since.
    void useKeyListing(const std::shared_ptr<B2Session>& listedWith, const std::vector<B2ApplicationKey>& listed);

    Keychain& keychain() const { return keychain_; }

    // --- Changing what is stored

    /// Stores a key after the service has accepted it, and makes it the session.
    ///
    /// @param label  may be empty: the key then takes the name it has at the service, if it may read that.
    /// @throws AddFailure before any call, Keychain::Failure, or the failure of the service or the network;
    ///         `addKeyMessage` has a sentence for each. Nothing is stored then.
    Task<> add(std::string label, std::string keyID, Secret applicationKey);
    /// Does the same but keeps the session.
    Task<> addWithoutSwitching(std::string label, std::string keyID, Secret applicationKey);

    /// Removes a key, its secret, and the sort choices of an account left without keys. The account's name is kept for
    /// a later key.
    /// @throws Keychain::Failure when the store refuses; nothing has changed then.
    Task<> remove(StoredKey key);

    /// Removes a key that looks revoked, once the service has refused that very key. One that still works, or that
    /// could not be asked about, stays. Cancelled before the removal begins, it changes nothing.
    ///
    /// @returns why the key was kept, as a sentence; nothing when it was removed.
    Task<std::optional<std::string>> removeIfRevoked(StoredKey key);

    /// Gives a key another name here, not at the service; an empty name does nothing.
    /// @returns false when the store refused, for which the log has the reason.
    Task<bool> rename(StoredKey key, std::string name);
    /// Does the same for an account, which has no name at the service.
    Task<bool> renameAccount(std::string accountID, std::string name);

    // --- Other accounts

    /// Opens another session for an account, with the first stored key that has the needed capabilities. The current
    /// session stays as it is.
    ///
    /// @param bucketID  a bucket that the key must be able to reach.
    /// @throws SecondSessionFailure, or the failure of the last key.
    Task<std::shared_ptr<B2Session>> secondSession(
        std::string accountID, std::set<B2Capability> needing, std::optional<std::string> bucketID = {});

    // --- What is known of the keys

    bool isStored(const std::string& keyID) const;
    /// Is it the account's master application key?
    bool isMaster(const StoredKey& key) const;
    /// Is the key gone from the service? Known only for the account whose keys the session could list completely.
    bool isRevoked(const StoredKey& key) const;
    std::vector<StoredKey> revokedKeys() const;
    std::set<std::string> revokedKeyIDs() const;
    std::vector<StoredAccount> accountGroups() const;
    std::string accountDisplayName(const std::optional<std::string>& accountID) const;

Q_SIGNALS:
    /// Emitted while `session` is assigned another one, or null. `changed()` follows a turn of the loop later, which
    /// would leave the rows of the earlier session on the screen until then.
    void sessionReplaced();

private:
    struct Accepted;

    enum class Announcement { quiet, logged };

    Task<> migrateLabels();
    void noteRemovals(const std::vector<StoredKey>& before);
    Task<std::shared_ptr<const Accepted>> acceptAndStore(
        std::string label, std::string keyID, Secret applicationKey, Announcement announcement);
    /// The key's own name at the service, if it may read that.
    Task<std::optional<std::string>> nameAtService(
        std::string keyID, B2Authorization authorization, std::shared_ptr<B2Client> client);
    Task<std::optional<std::string>> reasonToKeep(StoredKey key);
    Task<std::shared_ptr<B2Session>> sessionWith(StoredKey key);
    Task<> openSession(StoredKey key, bool wasStored);
    Task<> nameAccount(B2Authorization authorization);
    Task<> nameKey(std::string keyID, B2Authorization authorization, std::shared_ptr<B2Client> client);
    void record(B2LogLevel level, std::string_view category, std::string message, std::string detail = {});
    void fail(const StoredKey& key, const std::exception_ptr& error);
    void replaceSession(std::shared_ptr<B2Session> next);
    /// Records how an attempt ended together with its key, because another may have begun since.
    void conclude(const StoredKey& key, std::optional<ConnectionFailure> failure);
    StoredKey stored(const StoredKey& key) const;

    Keychain& keychain_;
    const ClientFactory& clients_;
    Settings& settings_;
    ActivityLog& log_;
    int runningAttempts_ = 0;
    int startedReloads_ = 0;
    int appliedReload_ = 0; ///< So that an older reading never replaces a newer one.
    int startedListings_ = 0;
    int appliedListing_ = 0; ///< The same for listings of the service.
};

/// Returns a sentence for a failure of `KeyStore::add`.
///
/// @param isKnown  the key's id was given, so only its secret can be wrong.
std::string addKeyMessage(const std::exception_ptr& error, bool isKnown);
