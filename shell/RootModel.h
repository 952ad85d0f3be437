#pragma once

#include "accounts/ExpiryWatch.h"
#include "accounts/KeyStore.h"
#include "accounts/Reconnection.h"
#include "accounts/StoredKeys.h"
#include "accounts/keys/KeysModel.h"
#include "accounts/switcher/KeySwitcherModel.h"
#include "browser/BrowserModel.h"
#include "browser/ListingCache.h"
#include "buckets/BucketsModel.h"
#include "foundation/Notices.h"
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

    Notices notices;
    KeyStore keyStore;
    StoredKeys storedKeys;
    KeySwitcherModel keySwitcher;
    BucketsModel buckets;
    KeysModel keys; ///< Of the account at the service.
    BrowserModel browser;
    UnfinishedUploadsModel unfinishedUploads;

    Observed<std::optional<SidebarItem>> selection{this};
    /// What the user should know of the settings file, of uploads left unfinished or of a bucket that is gone, as a
    /// sentence to show until `dismissNotice`.
    Observed<std::optional<std::string>> remark{this};

    /// The launch sequence, started once when the window first shows: keys, log, wiring, connection, buckets.
    void start();

    /// Connects with another stored key. The session there is stays until the new one stands.
    void switchTo(std::string keyID);
    void tryAgain();
    void reloadBuckets();

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

    // --- What is shown

    DetailState detailState() const;
    /// The sentence above the panes: a wait for the keyring, a failed switch, the newest notice, the last remark, else
    /// the end of the key.
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
    void followSession();
    Task<> loadBuckets(std::shared_ptr<B2Session> session);
    Task<> selectByKeyID(std::string keyID);
    Task<> dropBucket(std::string bucketID);
    void publishKeyMenu();
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
    std::set<std::string> writtenBuckets_; ///< Written to since the browser was told last.
    QTimer gathering_;
    Reconnection reconnection_;
    ExpiryWatch expiry_;
    TaskScope tasks_;
};
