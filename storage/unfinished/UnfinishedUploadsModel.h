#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2File.h"
#include "accounts/SessionModel.h"
#include "foundation/TaskScope.h"

#include <QPointer>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

class ActivityLog;

/// The large files of one bucket that were started and neither finished nor cancelled, with the size of their stored
/// parts.
///
/// Lives on the main thread. A load that fails or is replaced by a later one leaves the list as it was.
class UnfinishedUploadsModel final : public SessionModel {
public:
    struct Item {
        B2FileVersion file;
        std::optional<std::int64_t> storedBytes; ///< Unset until its parts have been read.
        std::optional<int> partCount;
        bool isCancelling = false;

        bool operator==(const Item&) const = default;
    };

    explicit UnfinishedUploadsModel(ActivityLog& log, QObject* parent = nullptr);

    Observed<std::vector<Item>> items{this}; ///< In the service's order.
    Observed<bool> isLoading{this, false};
    /// Why the last load, cancel or resume failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    Observed<bool> hasLoaded{this, false}; ///< Since the bucket was opened.
    Observed<std::optional<B2Bucket>> bucket{this};

    /// Returns the large files that are being uploaded right now; they do not belong in the list.
    std::function<std::set<std::string>()> inFlightFileIDs;
    std::function<Task<>(std::string bucketID)> onBucketGone; ///< Awaited on the main thread.
    /// Called when the file is gone, whichever bucket and session are shown since: it can no longer be resumed.
    std::function<void(const std::string& bucketID, const std::string& fileID)> didCancel;

    /// Shows a bucket; another one, or another session, empties the list.
    void open(std::shared_ptr<B2Session> newSession, B2Bucket newBucket);

    /// Lists the bucket's unfinished files, then the parts of each, one after another. Bills one call for each hundred
    /// files and one for each thousand parts of a file.
    void load();

    /// Reads the parts of each item again; does nothing during a load.
    void refreshSizes();

    /// Deletes the file's parts for good; the item stays when the service refuses. Does nothing while the item is being
    /// cancelled.
    void cancel(const Item& item);

    /// Why the key cannot cancel; nothing when it can.
    std::optional<std::string> cancelRefusal() const;

private:
    /// The session and bucket that a request is for.
    struct Target : Ticket {
        B2Bucket bucket;
    };

    static Task<> runLoad(QPointer<UnfinishedUploadsModel> model, Target target);
    static Task<> runRefresh(QPointer<UnfinishedUploadsModel> model, Target target);
    static Task<> runCancel(QPointer<UnfinishedUploadsModel> model, Target target, Item item);
    static Task<> readSizes(QPointer<UnfinishedUploadsModel> model, Target target);

    Target begin();
    void stop();
    /// Are session and bucket of the request still the ones shown?
    bool isOpen(const Target& target) const;
    void clear() override;
    void show(std::vector<B2FileVersion> files);
    void changeItem(const std::string& fileID, const std::function<void(Item&)>& change);
    void logOutcome(const Target& target, std::size_t leftOut);
    void fail(const Target& target, std::string message, const std::exception_ptr& failure, std::string sentenceBefore);

    ActivityLog& log_;
    std::optional<SpawnedTask> running_;
    std::set<std::string> cancelled_; ///< Since the load began, which may still list them.
    TaskScope tasks_;
};

/// The bytes of all items whose size is known.
std::int64_t storedBytesOf(const std::vector<UnfinishedUploadsModel::Item>& items);
