// The half of the model that asks the service and judges its answers.

#include "B2Kit/B2Error.h"
#include "accounts/ExpiryNotice.h"
#include "browser/BrowserModel.h"
#include "browser/RowWorker.h"
#include "browser/actions/BrowserActions.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int pageSize = 1000;

/// Of a long listing no more than this is read again at a time: each page bills a call.
constexpr std::size_t mostRowsListedAgain = 10'000;

Task<B2FileListPage> askForPage(std::shared_ptr<B2Client> client, ListingCache::Key key, BrowserMode mode,
    std::optional<std::string> startName, std::optional<std::string> startID)
{
    const auto prefix = key.prefix.empty() ? std::optional<std::string>() : key.prefix;
    B2FileListPage page;
    if (mode == BrowserMode::current) {
        B2ListFileNamesRequest names{.bucketID = key.bucketID,
            .startFileName = startName,
            .maxFileCount = pageSize,
            .prefix = prefix,
            .delimiter = "/"};
        page = co_await client->listFileNames(std::move(names));
    } else {
        B2ListFileVersionsRequest versions{.bucketID = key.bucketID,
            .startFileName = startName,
            .startFileID = startID,
            .maxFileCount = pageSize,
            .prefix = prefix,
            .delimiter = "/"};
        page = co_await client->listFileVersions(std::move(versions));
    }
    // Asked for the same page again and again, the folder would never end.
    if (page.nextFileName && page.nextFileName == startName && page.nextFileID == startID)
        throw B2Error(B2Error::InvalidResponse{"The listing does not go on after \"" + *startName + "\""});
    co_return page;
}

} // namespace

void BrowserModel::load()
{
    stopListing();
    error = std::nullopt;
    if (!*bucket)
        return;
    if (const auto* const known = *cache ? (*cache)->entry(key()) : nullptr) {
        cachedAt = known->fetchedAt;
        hasMore = false;
        nextName = std::nullopt;
        nextID = std::nullopt;
        showEntries(known->files);
        return;
    }
    cachedAt = std::nullopt;
    hasMore = false;
    nextName = std::nullopt;
    nextID = std::nullopt;
    showEntries({});
    listPage(true);
}

void BrowserModel::refresh()
{
    if (!*bucket)
        return;
    stopListing();
    error = std::nullopt;
    if (*cache)
        (*cache)->invalidate((*bucket)->bucketID, *prefix);
    listPage(true);
}

void BrowserModel::loadMore()
{
    if (!*hasMore || *isLoading)
        return;
    error = std::nullopt;
    listPage(false);
}

void BrowserModel::retry()
{
    if (failedAtNextPage_ && *hasMore)
        loadMore();
    else if (entries->empty())
        load();
    else
        refresh();
}

void BrowserModel::afterWrite(const std::string& bucketID)
{
    if (*cache)
        (*cache)->invalidate(bucketID);
    if (didWrite)
        didWrite(bucketID);
    if (!*bucket || (*bucket)->bucketID != bucketID)
        return;
    // Restarted after each of many writes, a listing would never end.
    if (*isLoading)
        mustListAgain_ = true;
    else
        listPage(true);
}

void BrowserModel::stopListing()
{
    ++generation_;
    if (listing_)
        listing_->cancel();
    listing_.reset();
    mustListAgain_ = false;
    isLoading = false;
}

void BrowserModel::listPage(bool resets)
{
    if (!*bucket || !*session || listRefusal((*session)->authorization))
        return;
    Listing listing{++generation_, *session, key(), {}, {}, resets, 0, {}};
    if (resets) {
        listing.wantedRows = std::min(entries->size(), mostRowsListedAgain);
        listing.before.mode = *mode;
        listing.before.order = *sortOrder;
    } else {
        listing.startName = *nextName;
        listing.startID = *nextID;
        listing.before = arrangement();
    }
    isLoading = true;
    listing_ = tasks_.start(runListing(this, std::move(listing)));
}

Task<> BrowserModel::runListing(QPointer<BrowserModel> model, Listing listing)
{
    B2FileListPage page;
    Arrangement arranged;
    std::exception_ptr failure;
    try {
        do {
            page = co_await askForPage(
                listing.session->client, listing.key, listing.before.mode, listing.startName, listing.startID);
            auto files = std::exchange(page.files, {});
            arranged = co_await addPage(RowWorker::shared(), listing.before, std::move(files));
            listing.before = arranged;
            listing.startName = page.nextFileName;
            listing.startID = page.nextFileID;
        } while (page.nextFileName && arranged.entries.size() < listing.wantedRows);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!model || model->generation_ != listing.generation)
        co_return;
    model->isLoading = false;
    if (failure)
        model->fail(listing, failure);
    else
        model->showPage(listing, page, std::move(arranged));
    if (std::exchange(model->mustListAgain_, false))
        model->listPage(true);
}

void BrowserModel::showPage(const Listing& listing, const B2FileListPage& page, Arrangement arranged)
{
    failedAtNextPage_ = false;
    error = std::nullopt;
    cachedAt = std::nullopt;
    nextName = page.nextFileName;
    nextID = page.nextFileID;
    hasMore = page.nextFileName.has_value();
    // A folder of which only a part was read must not come back shorter than it is; one that was written to meanwhile
    // may be older than the write.
    if (!*hasMore && *cache && !mustListAgain_)
        (*cache)->store(listing.key, arranged.entries, std::chrono::system_clock::now());
    entries = arranged.entries;
    ++listingVersion_;
    adopt(std::move(arranged));
    rearrange();
}

void BrowserModel::fail(const Listing& listing, const std::exception_ptr& failure)
{
    failedAtNextPage_ = !listing.resets;
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        // Whoever cancelled knows.
    } catch (const B2Error& refusal) {
        if (!refusal.api() || !refusal.api()->isBadBucketID()) {
            const auto ended = refusal.api() && refusal.api()->status == 401
                ? endedKeyText(listing.session->authorization, std::chrono::system_clock::now())
                : std::nullopt;
            error = ended.value_or(refusal.what());
            return;
        }
        error = "This bucket no longer exists";
        if (onBucketGone)
            tasks_.start(onBucketGone(listing.key.bucketID));
    } catch (const std::exception& other) {
        error = other.what();
    }
}
