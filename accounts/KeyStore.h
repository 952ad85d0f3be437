#pragma once

#include "B2Kit/B2Key.h"
#include "accounts/B2Session.h"
#include "accounts/ClientFactory.h"
#include "accounts/ConnectionFailure.h"
#include "accounts/Keychain.h"
#include "accounts/StoredKey.h"
#include "foundation/ActivityLog.h"
#include "foundation/Observable.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The stored keys and the session of the one in use.
///
/// Lives on the main thread as long as the process. A failed attempt to connect leaves the session that was there;
/// no failure of a connection is thrown, all are left in the fields.
class KeyStore final : public Observable {
public:
    KeyStore(Keychain& keychain, const ClientFactory& clients, ActivityLog& log);

    Observed<std::vector<StoredKey>> keys{this};
    Observed<std::shared_ptr<B2Session>> session{this};
    Observed<bool> isStarted{this, false}; ///< The stored keys were read once.
    Observed<bool> isConnecting{this, false};
    Observed<std::optional<ConnectionFailure>> connectionFailure{this};
    Observed<std::optional<StoredKey>> lastAttempted{this};
    Observed<std::map<std::string, std::string>> accountNames{this}; ///< By account id, as stored.

    /// What the current session could list at the service, by key id; complete or empty.
    Observed<std::map<std::string, B2ApplicationKey>> liveKeys{this};
    /// The account `liveKeys` describes; unset when no complete listing was possible.
    Observed<std::optional<std::string>> liveNamesAccountID{this};

    /// Reads the stored keys anew. A store that cannot be read leaves the list as it was, and the log says so.
    Task<> reload();

    /// Connects with a stored key; on success it becomes the session.
    Task<> connect(StoredKey key);

    /// Connects again with the key of the last attempt.
    Task<> retry();

    /// Lists the account's keys with the current session; nothing is known after any failure.
    Task<> loadLiveKeyNames();

    /// Keys the service no longer has, as far as the current session can tell.
    std::set<std::string> revokedKeyIDs() const;
    std::vector<StoredAccount> accountGroups() const;
    std::string accountDisplayName(const std::optional<std::string>& accountID) const;

private:
    Task<> openSession(StoredKey key);
    Task<> nameAccount(B2Authorization authorization);
    Task<> nameKey(std::string keyID, B2Authorization authorization, std::shared_ptr<B2Client> client);
    void fail(const StoredKey& key, const std::exception_ptr& error);
    StoredKey stored(const StoredKey& key) const;

    Keychain& keychain_;
    const ClientFactory& clients_;
    ActivityLog& log_;
};
