#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/B2Session.h"
#include "browser/ListingCache.h"
#include "browser/RowOrder.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"

#include <QPointer>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

class Settings;

/// What the table shows: rows of a listing, chosen and sorted. A value; copies share everything.
struct ShownRows {
    BrowserEntries entries;
    RowIndexes rows = std::make_shared<const std::vector<std::uint32_t>>();

    std::size_t size() const { return rows->size(); }
    const BrowserRow& operator[](std::size_t row) const { return entries[(*rows)[row]]; }

    /// The very same rows, not merely equal ones.
    bool operator==(const ShownRows& other) const { return rows == other.rows && entries == other.entries; }
};

/// The object browser: which bucket, which folder, current files or all versions, and the rows shown.
///
/// Lives on the main thread. Listings run in tasks; one that is overtaken by another place, mode, bucket or session is
/// cancelled, and what it still brings is dropped. A listing that fails leaves the rows as they were. Long listings
/// are sorted on a worker, and `shown` changes when they are ready.
class BrowserModel final : public Observable {
public:
    using Mode = BrowserMode;

    /// @param settings  keeps the sort order of each bucket.
    explicit BrowserModel(Settings& settings, QObject* parent = nullptr);

    Observed<Mode> mode{this, Mode::current};
    Observed<BrowserEntries> entries{this}; ///< As listed.
    Observed<ShownRows> shown{this};        ///< As the table shows them.
    Observed<bool> isLoading{this, false};
    Observed<bool> isMutating{this, false};              ///< A write is running.
    Observed<std::set<std::string>> inFlight{this};      ///< Ids of the rows with a write under way.
    Observed<std::optional<SpawnedTask>> deleting{this}; ///< The running delete of all versions.
    /// Why the last request failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    Observed<bool> hasMore{this, false};
    Observed<std::string> prefix{this}; ///< With its trailing "/"; empty at the root.
    Observed<std::shared_ptr<B2Session>> session{this};
    Observed<std::optional<B2Bucket>> bucket{this};
    Observed<std::optional<std::string>> nextName{this};
    Observed<std::optional<std::string>> nextID{this};
    Observed<std::shared_ptr<ListingCache>> cache{this}; ///< Shared by all panes of a window; may be null.
    /// Set when the rows came from the cache.
    Observed<std::optional<std::chrono::system_clock::time_point>> cachedAt{this};
    Observed<std::vector<SortOrder>> sortOrder{this, defaultBrowserOrder()};
    Observed<std::string> filter{this}; ///< Shows only names that hold it.
    /// The row to select once it is there: the folder one comes from after going up.
    Observed<std::optional<std::string>> arrivalID{this};
    /// Called when that row was selected, or turned out to be missing.
    void forgetArrival() { arrivalID = std::nullopt; }

    std::function<void(const std::string& bucketID)> didWrite; ///< After every successful write.
    std::function<Task<>(std::string bucketID)> onBucketGone;  ///< Awaited on the main thread.

    /// Shows the root of a bucket. Another session ends what was kept of the one before: cache and history.
    void open(std::shared_ptr<B2Session> newSession, B2Bucket newBucket);
    /// Shows no bucket and forgets cache and history.
    void close();

    /// Goes to a folder of the bucket, or says why the key cannot.
    void navigate(std::string newPrefix);
    void goUp();
    void goBack();
    void goForward();
    bool canGoUp() const;
    bool canGoBack() const { return !back_.empty(); }
    bool canGoForward() const { return !forward_.empty(); }
    /// Where a restricted key's reach begins; empty for every other key.
    std::string rootPrefix() const;

    void setMode(Mode newMode);
    /// Kept for the bucket in the settings.
    void setSortOrder(std::vector<SortOrder> order);
    void setFilter(std::string text);

    /// Shows the cached listing of the place if there is one, else lists afresh.
    void load();
    /// Lists afresh as many rows as are loaded, to a limit of pages; they stay until all of the answer is here.
    void refresh();
    /// Fetches the next page; does nothing without one, or while a listing runs.
    void loadMore();
    /// Asks again for what failed.
    void retry();

    /// What follows every successful write to a bucket: its listings are stale, others are told, the present folder
    /// is listed again (once more after a listing that already runs).
    void afterWrite(const std::string& bucketID);

    /// The rows of the present mode as listed, and in the present order. Computed once a change.
    const RowIndexes& listed();
    const RowIndexes& sorted();

private:
    struct Place {
        B2Bucket bucket;
        std::string prefix;
    };

    /// One request for a page, with all it needs to be judged when it is answered.
    struct Listing {
        std::uint64_t generation = 0;
        std::shared_ptr<B2Session> session;
        ListingCache::Key key;
        std::optional<std::string> startName;
        std::optional<std::string> startID;
        bool resets = true;
        /// What was loaded before is read again at once, so that the user keeps the place.
        std::size_t wantedRows = 0;
        Arrangement before;
    };

    struct ListedCache {
        std::int64_t version = -1;
        Mode mode = Mode::current;
        RowIndexes result;
    };

    struct SortedCache {
        std::int64_t version = -1;
        Mode mode = Mode::current;
        std::vector<SortOrder> order;
        BrowserEntries entries;
        RowIndexes result = std::make_shared<const std::vector<std::uint32_t>>();
    };

    static Task<> runListing(QPointer<BrowserModel> model, Listing listing);
    static Task<> runArranging(QPointer<BrowserModel> model, std::int64_t version);

    void moveTo(Place place);
    std::optional<Place> place() const;
    ListingCache::Key key() const;
    Arrangement arrangement() const;
    bool isArranged() const;

    void stopListing();
    void listPage(bool resets);
    void showPage(const Listing& listing, const B2FileListPage& page, Arrangement arranged);
    void fail(const Listing& listing, const std::exception_ptr& failure);
    void showEntries(BrowserEntries newEntries);
    void rearrange();
    void adopt(Arrangement arranged);
    void publish();

    Settings& settings_;
    std::vector<Place> back_;
    std::vector<Place> forward_;
    std::int64_t listingVersion_ = 0; ///< Raised each time `entries` changes.
    ListedCache listedCache_;
    SortedCache sortedCache_;
    std::uint64_t generation_ = 0; ///< Of the listing whose answer counts.
    std::optional<SpawnedTask> listing_;
    bool mustListAgain_ = false; ///< A write came after the running listing had begun.
    bool failedAtNextPage_ = false;
    TaskScope tasks_;
};
