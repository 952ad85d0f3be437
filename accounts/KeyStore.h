#pragma once

#include "B2Kit/B2Key.h"
#include "accounts/B2Session.h"
#include "accounts/ClientFactory.h"
#include "accounts/ConnectionFailure.h"
#include "accounts/StoredKey.h"
#include "foundation/Observable.h"
#include "foundation/Settings.h"
#include "foundation/log/ActivityLog.h"
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
/// Lives on the main thread as long as the process. A failed attempt to connect leaves the session that was there;
/// no failure of a connection is thrown, all are left in the fields.
class KeyStore final : public Observable {
public:
    /// The key to add is in the store already.
    struct AddFailure : std::runtime_error {
        explicit AddFailure(const std::string& existingLabel);
    };

    /// There is no session for another account.
    struct SecondSessionFailure : std::runtime_error {
        enum class Kind { noStoredSecret, noCapableKey, noKeys };

        static SecondSessionFailure noStoredSecret(const std::string& label);
        static SecondSessionFailure noCapableKey(std::vector<std::string> needed, std::vector<std::string> tried);
        static SecondSessionFailure noKeys();

        Kind kind;
        std::vector<std::string> needed; ///< Capabilities, sorted.
        std::vector<std::string> tried;  ///< Each key with what it lacks.

    private:
        SecondSessionFailure(Kind which, const std::string& sentence);
    };

    KeyStore(Keychain& keychain, const ClientFactory& clients, Settings& settings, ActivityLog& log);

    Observed<std::vector<StoredKey>> keys{this};
    Observed<std::shared_ptr<B2Session>> session{this};
    Observed<bool> isStarted{this, false}; ///< The stored keys were read once.
    Observed<bool> isConnecting{this, false};
    Observed<std::optional<ConnectionFailure>> connectionFailure{this};
    Observed<std::optional<StoredKey>> lastAttempted{this};
    Observed<std::map<std::string, std::string>> accountNames{this}; ///< By account id, as stored.
    /// Why the stored keys could not be read the last time, as a sentence to show.
    Observed<std::optional<std::string>> storeFailure{this};

    /// The keys that the current session could list at the service, by id; complete or empty.
    Observed<std::map<std::string, B2ApplicationKey>> liveKeys{this};
    /// The account `liveKeys` describes; unset when no complete listing was possible.
    Observed<std::optional<std::string>> liveNamesAccountID{this};

    /// Reads the stored keys again. A store that cannot be read leaves the list as it was, and the log says so.
    Task<> reload();

    /// Connects with a stored key; on success it becomes the session.
    Task<> connect(StoredKey key);

    /// Connects again with the key of the last attempt.
    Task<> retry();

    /// Lists the account's keys with the current session; nothing is known after any failure.
    Task<> loadLiveKeyNames();

    /// The same from a complete listing that another has made with a session, unless that was replaced.
    void takeLiveKeys(const std::shared_ptr<B2Session>& listedWith, const std::vector<B2ApplicationKey>& listed);

    Keychain& keychain() const { return keychain_; }

    // --- Changing what is stored

    /// Stores a key after the service has accepted it, and makes it the session.
    ///
    /// @param label  may be empty: the key then takes the name it has at the service, if it may read that.
    /// @throws AddFailure before any call, Keychain::Failure, and what the service or the network said;
    ///         `addKeyMessage` has words for each. Nothing is stored then.
    Task<> add(std::string label, std::string keyID, Secret applicationKey);
    /// The same without a change of session.
    Task<> addWithoutSwitching(std::string label, std::string keyID, Secret applicationKey);

    /// Forgets a key, its secret, and the sort choices of an account without keys. The account's name stays, so that
    /// it is there again with a new key.
    /// @throws Keychain::Failure when the store would not remove it; everything is as before then.
    Task<> remove(StoredKey key);

    /// Removes a key that looks revoked, once the service has refused that very key. One that still works, or that
    /// could not be asked about, stays. Cancelled before the removal begins, it changes nothing.
    ///
    /// @returns why the key was kept, as a sentence; nothing when it was removed.
    Task<std::optional<std::string>> removeIfRevoked(StoredKey key);

    // A failure goes to the log; an empty name does nothing. Neither changes anything at the service.
    Task<> rename(StoredKey key, std::string name);
    Task<> renameAccount(std::string accountID, std::string name);

    // --- Other accounts

    /// A session of its own for an account, with the first stored key that has what is needed. The current session
    /// stays as it is.
    ///
    /// @param bucketID  a bucket that the key must not be kept from.
    /// @throws SecondSessionFailure, or what the last key met.
    Task<std::shared_ptr<B2Session>> secondSession(
        std::string accountID, std::set<B2Capability> needing, std::optional<std::string> bucketID = {});

    // --- What is known of the keys

    /// Is it the account's master application key?
    bool isMaster(const StoredKey& key) const;
    /// Has the service no such key any more? Only known of the account that the current session could list completely.
    bool isRevoked(const StoredKey& key) const;
    std::vector<StoredKey> revokedKeys() const;
    std::set<std::string> revokedKeyIDs() const;
    std::vector<StoredAccount> accountGroups() const;
    std::string accountDisplayName(const std::optional<std::string>& accountID) const;

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
    /// How an attempt ended, together with whose it was: another may have begun since.
    void conclude(const StoredKey& key, std::optional<ConnectionFailure> failure);
    bool isStored(const std::string& keyID) const;
    StoredKey stored(const StoredKey& key) const;

    Keychain& keychain_;
    const ClientFactory& clients_;
    Settings& settings_;
    ActivityLog& log_;
    int runningAttempts_ = 0;
    int startedReloads_ = 0;
    int appliedReload_ = 0; ///< An older reading never replaces a newer one.
    int startedListings_ = 0;
    int appliedListing_ = 0; ///< The same for what the service lists.
};

/// Words for what `KeyStore::add` threw.
///
/// @param isKnown  the key's id was given, so that only its secret can be wrong.
std::string addKeyMessage(const std::exception_ptr& error, bool isKnown);
