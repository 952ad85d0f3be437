#pragma once

#include "accounts/AppContext.h"
#include "accounts/KeyStore.h"
#include "accounts/KeySwitcherModel.h"
#include "browser/BrowserModel.h"
#include "browser/ListingCache.h"
#include "buckets/BucketsModel.h"
#include "foundation/ActivityLog.h"
#include "foundation/Observable.h"
#include "foundation/Settings.h"
#include "foundation/TaskScope.h"
#include "shell/DetailState.h"
#include "storage/UnfinishedUploadsModel.h"
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

/// The main window's root: owns the models of all panes, wires them, and decides what the detail area shows.
///
/// Lives on the main thread as long as the process; its tasks are awaited with `shutDown` before it goes.
class RootModel final : public Observable {
public:
    explicit RootModel(const RootParts& parts);

    KeyStore keyStore;
    KeySwitcherModel keySwitcher;
    BucketsModel buckets;
    BrowserModel browser;
    UnfinishedUploadsModel unfinishedUploads;

    Observed<std::optional<SidebarItem>> selection{this};
    Observed<std::vector<StoredAccount>> accountGroups{this};
    /// What the user should know of the settings file or of a bucket that is gone, as a sentence to show until
    /// `dismissNotice`.
    Observed<std::optional<std::string>> remark{this};

    /// The launch sequence, started once when the window first shows: keys, log, wiring, connection, buckets.
    void start();

    /// Connects with another stored key. The session there is stays until the new one stands.
    void switchTo(std::string keyID);
    void tryAgain();
    void reloadBuckets();
    /// Reads the stored keys again: another program may have changed them.
    void reloadKeys();

    /// Shows a bucket, and remembers it for the next start with this key.
    void select(const SidebarItem& item);

    /// Turns `unfinishedUploads` to the bucket that is shown.
    /// @returns false when none is.
    bool openUnfinishedUploads();
    /// Is it known here which file the unfinished upload comes from?
    bool canResume(const std::string& fileID) const;
    /// Goes on with an unfinished upload of the bucket in `unfinishedUploads`.
    /// @returns a sentence when it cannot: then nothing is queued.
    Task<std::optional<std::string>> resumeUpload(std::string fileID);

    DetailState detailState() const;
    /// Why the last switch of key failed while the old session goes on; nothing otherwise.
    std::optional<std::string> switchFailure() const;
    /// What stands above the panes: a failed switch, else the last remark.
    std::optional<std::string> notice() const;
    void dismissNotice();

    /// Asks every task to stop and waits for their ends.
    Task<> shutDown();

private:
    void wire();
    void followBrowser();
    void noteWrite(const std::string& bucketID);
    void noteCancelledUpload(const std::string& fileID);
    void tellWrites();
    void noteSettings(std::string message, std::string sentence);
    Task<> launch();
    Task<> connectAndLoad(StoredKey key);
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
    std::set<std::string> writtenBuckets_; ///< Written to since the browser was told last.
    QTimer gathering_;
    TaskScope tasks_;
};
