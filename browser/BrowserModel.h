#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/SessionModel.h"
#include "browser/BrowserHistory.h"
#include "browser/BrowserListing.h"
#include "browser/BrowserRows.h"
#include "browser/ListingCache.h"
#include "foundation/TaskScope.h"

#include <QPointer>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

class Settings;

/// The object browser: which bucket, which folder, current files or all versions, and the rows shown.
///
/// Lives on the main thread. Listings run in tasks; one that is overtaken by another place, mode, bucket or session is
/// cancelled, and its late answer is dropped. A listing that fails leaves the rows as they were.
class BrowserModel final : public SessionModel {
public:
    using Mode = BrowserMode;

    /// @param settings  keeps the sort order of each bucket.
    explicit BrowserModel(Settings& settings, QObject* parent = nullptr);

    Observed<Mode> mode{this, Mode::current};
    BrowserRows rows{this};
    Observed<bool> isLoading{this, false};
    Observed<std::set<std::string>> inFlight{this}; ///< Ids of the rows with a write under way.
    /// Why the last request failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    Observed<bool> hasMore{this, false};
    Observed<std::string> prefix{this}; ///< With its trailing "/"; empty at the root.
    Observed<std::optional<B2Bucket>> bucket{this};
    Observed<std::shared_ptr<ListingCache>> cache{this}; ///< Shared by all panes of a window; may be null.
    /// Set when the rows came from the cache.
    Observed<std::optional<std::chrono::system_clock::time_point>> cachedAt{this};
    /// The row to select once it is listed: after going up, the folder that was left.
    Observed<std::optional<std::string>> arrivalID{this};
    /// Called when that row was selected, or turned out to be missing.
    void forgetArrival() { arrivalID = std::nullopt; }

    std::function<Task<>(std::string bucketID)> onBucketGone; ///< Awaited on the main thread.

    /// Shows the root of a bucket. With another session, the cache and the history of the one before are cleared.
    void open(std::shared_ptr<B2Session> newSession, B2Bucket newBucket);
    /// Leaves a bucket that is gone, and removes it from the history.
    void forget(const std::string& bucketID);
    /// Shows no bucket, and clears the cache and the history.
    void close() { reset(nullptr); }

    /// Goes to a folder of the bucket, or says why the key cannot.
    void navigate(std::string newPrefix);
    void goUp();
    void goBack();
    void goForward();
    bool canGoUp() const;
    bool canGoBack() const { return history_.canGoBack(); }
    bool canGoForward() const { return history_.canGoForward(); }
    /// Where a restricted key's reach begins; empty for every other key.
    std::string rootPrefix() const;

    void setMode(Mode newMode);
    /// Kept for the bucket in the settings; an empty order changes nothing.
    void setSortOrder(std::vector<SortOrder> order);
    void setFilter(std::string text) { rows.setFilter(std::move(text)); }

    /// Shows the cached listing of the place, or lists it when there is none.
    void load();
    /// Lists again as many rows as are loaded, up to a limit of pages; the old rows stay until the answer is complete.
    void refresh();
    /// Fetches the next page; does nothing without one, or while a listing runs.
    void loadMore();
    /// Asks again for what failed.
    void retry();

    /// To be called after every successful write to a bucket: drops its cached listings, announces the write, and lists
    /// the present folder again (once more after a listing that is already running).
    void afterWrite(const std::string& bucketID);

private:
    static Task<> runListing(QPointer<BrowserModel> model, Ticket issued, ListingRequest request, bool isNextPage);

    void clear() override;

    std::optional<BrowserPlace> place() const;
    void leaveFor(const BrowserPlace& target);
    void moveTo(BrowserPlace target);
    ListingCache::Key key() const;

    void startOver();
    void stopListing();
    bool canList() const;
    void listAgain();
    void listNextPage();
    void startListing(ListingRequest request, bool isNextPage);
    void showListed(const ListingCache::Key& listedKey, ListedRows listed);
    void fail(const B2Session& asked, const std::string& bucketID, const std::exception_ptr& failure);

    Settings& settings_;
    BrowserHistory history_;
    ListingPosition next_; ///< Of the next page, while `hasMore`.
    std::optional<SpawnedTask> listing_;
    bool mustListAgain_ = false; ///< A write came after the running listing had begun.
    bool failedAtNextPage_ = false;
    TaskScope tasks_;
};
