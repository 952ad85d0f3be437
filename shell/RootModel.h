#pragma once

#include "accounts/ExpiryWatch.h"
#include "accounts/KeyStore.h"
#include "accounts/Reconnection.h"
#include "accounts/keys/KeyInspection.h"
#include "accounts/keys/KeysModel.h"
#include "accounts/switcher/KeySwitcherModel.h"
#include "browser/BrowserModel.h"
#include "browser/ListingCache.h"
#include "buckets/BucketsModel.h"
#include "foundation/BucketWrites.h"
#include "foundation/Notices.h"
#include "foundation/Observable.h"
#include "foundation/Settings.h"
#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"
#include "shell/AppContext.h"
#include "shell/DetailState.h"
#include "shell/PaneSelection.h"
#include "storage/unfinished/UnfinishedUploadsModel.h"
#include "transfers/TransferQueue.h"
#include "transfers/resume/UnfinishedResumes.h"

#include <functional>
#include <optional>
#include <set>
#include <string>

/// What the models of the main window are made of; all of it outlives them.
struct RootParts {
    Settings& settings;
    ActivityLog& log;
    AppContext& context;
    Keychain& keychain;
    const ClientFactory& clients;
    TransferQueue& queue;
    /// Opens what is known of started uploads and gives it to the queue; awaited before anything can be uploaded.
    /// Null where there is none, and without a function.
    std::function<Task<ResumeStore*>()> openResumeStore = nullptr;
};

/// The main window's root: owns the models of all panes, wires them, and decides what the detail area shows.
///
/// Lives on the main thread as long as the process; its tasks are awaited with `shutDown` before it goes.
class RootModel final : public Observable {
public:
    explicit RootModel(const RootParts& parts);

    KeyStore keyStore;
    KeySwitcherModel keySwitcher;
    BucketsModel buckets;
    KeysModel keys; ///< Of the account at the service.
    BrowserModel browser;
    UnfinishedUploadsModel unfinishedUploads;
    Notices notices; ///< Shown above the panes until dismissed.
    UnfinishedResumes unfinishedResumes;

    PaneSelection selection;
    BucketWrites writes; ///< Whatever changes a bucket reports it here.
    Observed<std::vector<StoredAccount>> accountGroups{this};
    /// The first connection of this user stands, and the sheet that says so has not been shown.
    Observed<bool> isShowingConnected{this, false};

    /// The launch sequence, started once when the window first shows: keys, log, wiring, connection, buckets.
    void start();

    /// Connects with another stored key. The session there is stays until the new one stands.
    void switchTo(std::string keyID);
    void tryAgain();
    void reloadBuckets();
    /// Reads the stored keys again: another program may have changed them. Connects when that brings the first key.
    void reloadKeys();
    /// The same at the user's wish: a keyring whose question was dismissed may ask once more.
    void reloadKeysAskingAgain();
    /// Ends a wait for the secret store to be unlocked; what waited fails.
    void stopWaiting();


    // --- Stored keys

    /// Gives a key or an account another name. A failure is a notice.
    void renameKey(StoredKey key, std::string name);
    void renameAccount(std::string accountID, std::string name);
    /// Is the program connected with the key?
    bool isCurrent(const StoredKey& key) const;
    /// The key that commands without a choice are about: the session's, or the one that could not connect.
    std::optional<StoredKey> keyInUse() const;
    /// The key's name at the service; empty when it did not tell one.
    std::string serviceName(const StoredKey& key) const;
    /// What is known of a key: its record in the complete listing, or what the session's own sign-in said.
    std::optional<KeyInspection> inspection(const StoredKey& key) const;
    /// Which account the session belongs to, and with which key; nothing without a session.
    std::optional<std::string> connectedText() const;

    // --- What is shown

    DetailState detailState() const;
    /// Why the last switch of key failed while the old session goes on; nothing otherwise.
    std::optional<std::string> switchFailure() const;

    /// Asks every task to stop and waits for their ends.
    Task<> shutDown();

private:
    void wire();
    Task<> launch();
    Task<> connectFirst();
    Task<> readKeys();
    void followSession();
    Task<> loadBuckets(std::shared_ptr<B2Session> session);
    Task<> rename(StoredKey key, std::string name);
    Task<> renameStored(std::string accountID, std::string name);
    Task<> selectByKeyID(std::string keyID);
    Task<> dropBucket(std::string bucketID);
    void noteSettings(std::string message, std::string sentence);
    void noteConnection();
    void noteKeychain();
    void noteExpiry();
    void rebuildKeyMenu();

    Settings& settings_;
    ActivityLog& log_;
    AppContext& context_;
    TransferQueue& queue_;
    std::function<Task<ResumeStore*>()> openResumeStore_;
    Keychain& keychain_;
    bool isStartSlow_ = false;
    std::optional<std::string> keychainRemark_; ///< Told last.
    std::set<std::string> keysWithoutSecret_;   ///< Found out when they were to connect.
    Reconnection reconnection_;
    ExpiryWatch expiry_;
    TaskScope tasks_;
};
