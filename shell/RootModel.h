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
#include "foundation/BucketWrites.h"
#include "foundation/Notices.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "shell/AppContext.h"
#include "shell/DetailState.h"
#include "shell/PaneSelection.h"
#include "storage/unfinished/UnfinishedUploadsModel.h"
#include "transfers/TransferQueue.h"
#include "transfers/resume/UnfinishedResumes.h"

#include <QPointer>

#include <functional>
#include <optional>
#include <set>
#include <string>

/// The parts that the models of the main window need; all of them outlive the models.
struct RootParts {
    Settings& settings;
    ActivityLog& log;
    AppContext& context;
    Keychain& keychain;
    const ClientFactory& clients;
    TransferQueue& queue;
    /// Opens the store of started uploads and gives it to the queue; awaited before anything can be uploaded.
    /// Null if there is no such store.
    std::function<Task<ResumeStore*>()> openResumeStore = nullptr;
};

/// The root of the main window: owns the models of all panes and connects them.
///
/// Lives on the main thread as long as the process; its tasks are awaited with `shutDown` before it goes.
class RootModel final : public Observable {
public:
    explicit RootModel(const RootParts& parts);

    Notices notices; ///< Shown above the panes until dismissed.
    KeyStore keyStore;
    StoredKeys storedKeys;
    KeySwitcherModel keySwitcher;
    BucketsModel buckets;
    KeysModel keys; ///< Of the account at the service.
    BrowserModel browser;
    UnfinishedUploadsModel unfinishedUploads;
    UnfinishedResumes unfinishedResumes;

    PaneSelection selection;
    BucketWrites writes; ///< Whatever changes a bucket reports it here.

    /// Starts the launch sequence, once, when the window first shows: keys, log, wiring, connection, buckets.
    void start();

    /// Connects with another stored key. The current session stays until the new one is established.
    void switchTo(std::string keyID);
    void tryAgain();
    void reloadBuckets();

    DetailState detailState() const;

    /// Resets the model with the session now and at every change of it, as long as it lives. For the models that panes
    /// own.
    void follow(SessionModel& model);

    /// Asks every task to stop and waits for their ends.
    Task<> shutDown();

private:
    void wire();
    Task<> launch();
    void followSession();
    Task<> loadBuckets(std::shared_ptr<B2Session> session);
    Task<> selectByKeyID(std::string keyID);
    Task<> dropBucket(std::string bucketID);
    void noteSettings(std::string id, std::string message, std::string sentence);
    void noteSwitch();
    void noteUnlocking();
    void noteExpiry();
    void publishKeyMenu();

    Settings& settings_;
    ActivityLog& log_;
    AppContext& context_;
    TransferQueue& queue_;
    std::function<Task<ResumeStore*>()> openResumeStore_;
    Keychain& keychain_;
    bool isStartSlow_ = false;
    bool isUnlockNoticeClosed_ = false; ///< Until the wait ends.
    Reconnection reconnection_;
    ExpiryWatch expiry_;
    std::vector<QPointer<SessionModel>> followers_;
    TaskScope tasks_;
};
