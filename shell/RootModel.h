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
#include "foundation/Observable.h"
#include "foundation/Settings.h"
#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"
#include "shell/AppContext.h"
#include "shell/DetailState.h"
#include "shell/InterruptedUploads.h"
#include "storage/unfinished/UnfinishedUploadsModel.h"
#include "transfers/TransferQueue.h"

#include <QTimer>

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

/// A sentence above the panes, with at most one action.
struct RootNotice {
    enum class Action { none, tryAgain, stopWaiting };

    std::string text;
    Action action = Action::none;

    bool operator==(const RootNotice&) const = default;
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

    Observed<std::optional<SidebarItem>> selection{this};
    Observed<std::vector<StoredAccount>> accountGroups{this};
    /// What the user should know of the settings file, of uploads left unfinished or of a bucket that is gone, as a
    /// sentence to show until `dismissNotice`.
    Observed<std::optional<std::string>> remark{this};

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

    /// Shows a pane; a bucket is remembered for the next start with this key.
    void select(const SidebarItem& item);

    /// Turns `unfinishedUploads` to the bucket that is shown.
    /// @returns false when none is.
    bool openUnfinishedUploads();
    /// Is it known here which file the unfinished upload comes from?
    bool canResume(const std::string& fileID) const;
    /// Goes on with an unfinished upload of the bucket in `unfinishedUploads`.
    /// @returns a sentence when it cannot: then nothing is queued.
    Task<std::optional<std::string>> resumeUpload(std::string fileID);

    // --- Stored keys

    /// Gives a key or an account another name. A failure is left in `remark`.
    void renameKey(StoredKey key, std::string name);
    void renameAccount(std::string accountID, std::string name);
    /// Forgets the keys that the service refuses; what was kept is left in `remark`.
    Task<> removeRevokedKeys();
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
    /// What stands above the panes: a wait for the keyring, a failed switch, the last remark, else the key's end.
    std::optional<RootNotice> notice() const;
    void dismissNotice();

    /// Asks every task to stop and waits for their ends.
    Task<> shutDown();

private:
    void wire();
    void followBrowser();
    void followRequests();
    void noteWrite(const std::string& bucketID);
    void noteCancelledUpload(const std::string& bucketID, const std::string& fileID);
    void tellWrites();
    void tellInterruptedUploads();
    void dropOutdatedRemark();
    bool isOpenUpload(const std::string& fileID) const;
    void noteSettings(std::string message, std::string sentence);
    Task<> launch();
    Task<> connectFirst();
    Task<> readKeys();
    void followSession();
    Task<> loadBuckets(std::shared_ptr<B2Session> session);
    Task<> rename(StoredKey key, std::string name);
    Task<> renameStored(std::string accountID, std::string name);
    Task<> selectByKeyID(std::string keyID);
    Task<> dropBucket(std::string bucketID);
    void rebuildKeyMenu();
    void restoreSelection();
    void showSelection();

    Settings& settings_;
    ActivityLog& log_;
    AppContext& context_;
    TransferQueue& queue_;
    std::function<Task<ResumeStore*>()> openResumeStore_;
    ResumeStore* resumeStore_ = nullptr;
    InterruptedUploads interrupted_;
    Keychain& keychain_;
    bool isStartSlow_ = false;
    std::set<std::string> keysWithoutSecret_; ///< Found out when they were to connect.
    std::set<std::string> writtenBuckets_;    ///< Written to since the browser was told last.
    QTimer gathering_;
    Reconnection reconnection_;
    ExpiryWatch expiry_;
    TaskScope tasks_;
};
