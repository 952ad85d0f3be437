#include "browser/BrowserModel.h"

#include "B2Kit/B2Error.h"
#include "accounts/ExpiryNotice.h"
#include "browser/PrefixPath.h"
#include "browser/actions/BrowserActions.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"

#include <algorithm>
#include <utility>

namespace {

/// No more rows than this are listed again at a time, because each page bills a call.
constexpr std::size_t maxRelistedRows = 10'000;

} // namespace

BrowserModel::BrowserModel(Settings& settings, QObject* parent)
    : SessionModel(parent)
    , settings_(settings)
{
}

// --- The place

void BrowserModel::open(std::shared_ptr<B2Session> newSession, B2Bucket newBucket)
{
    if (*session != newSession)
        reset(std::move(newSession));
    BrowserPlace target{std::move(newBucket), rootPrefix()};
    leaveFor(target);
    moveTo(std::move(target));
}

void BrowserModel::forget(const std::string& bucketID)
{
    history_.forget(bucketID);
    if (*bucket && (*bucket)->bucketID == bucketID)
        close();
    markChanged();
}

void BrowserModel::clear()
{
    stopListing();
    if (*cache)
        (*cache)->clear();
    history_.clear();
    bucket = std::nullopt;
    prefix = std::string();
    rows.filter = std::string();
    error = std::nullopt;
    arrivalID = std::nullopt;
    startOver();
    rows.show({}, *mode);
}

void BrowserModel::navigate(std::string newPrefix)
{
    if (!*bucket)
        return;
    if (*session) {
        if (auto refusal = prefixRefusal((*session)->authorization, newPrefix)) {
            error = std::move(refusal);
            return;
        }
    }
    BrowserPlace target{**bucket, std::move(newPrefix)};
    leaveFor(target);
    moveTo(std::move(target));
}

void BrowserModel::goUp()
{
    if (!canGoUp())
        return;
    auto parent = parentPrefix(*prefix);
    const auto root = rootPrefix();
    navigate(parent.starts_with(root) ? std::move(parent) : root);
}

void BrowserModel::goBack()
{
    const auto present = place();
    if (auto target = present ? history_.goBack(*present) : std::nullopt)
        moveTo(std::move(*target));
}

void BrowserModel::goForward()
{
    const auto present = place();
    if (auto target = present ? history_.goForward(*present) : std::nullopt)
        moveTo(std::move(*target));
}

bool BrowserModel::canGoUp() const
{
    return bucket->has_value() && *prefix != rootPrefix();
}

std::string BrowserModel::rootPrefix() const
{
    return *session ? (*session)->authorization.storage.allowed.namePrefix.value_or("") : "";
}

std::optional<BrowserPlace> BrowserModel::place() const
{
    return *bucket ? std::optional(BrowserPlace{**bucket, *prefix}) : std::nullopt;
}

void BrowserModel::leaveFor(const BrowserPlace& target)
{
    if (auto present = place(); present && !present->isSameFolder(target))
        history_.leave(std::move(*present));
}

void BrowserModel::moveTo(BrowserPlace target)
{
    const bool isSameBucket = *bucket && (*bucket)->bucketID == target.bucket.bucketID;
    const bool comesFromBelow =
        isSameBucket && prefix->size() > target.prefix.size() && prefix->starts_with(target.prefix);
    arrivalID = comesFromBelow ? std::optional("folder:" + folderTowards(target.prefix, *prefix)) : std::nullopt;
    if (!isSameBucket && *session) {
        const auto stored =
            settings_.text(SettingsKeys::browserSort((*session)->authorization.accountID, target.bucket.bucketID));
        rows.sortOrder = decodeSort(stored.value_or(""), browserColumnKeys(), defaultBrowserOrder());
    }
    bucket = std::move(target.bucket);
    prefix = std::move(target.prefix);
    rows.filter = std::string();
    // The history may have changed even when the place is the same.
    markChanged();
    load();
}

ListingCache::Key BrowserModel::key() const
{
    return {(*bucket)->bucketID, *prefix, modeName(*mode)};
}

void BrowserModel::setMode(Mode newMode)
{
    if (*mode == newMode)
        return;
    mode = newMode;
    load();
}

void BrowserModel::setSortOrder(std::vector<SortOrder> order)
{
    if (order.empty() || *rows.sortOrder == order)
        return;
    if (*session && *bucket) {
        settings_.set(
            SettingsKeys::browserSort((*session)->authorization.accountID, (*bucket)->bucketID), encodeSort(order));
    }
    rows.sort(std::move(order));
}

// --- The listing

void BrowserModel::load()
{
    stopListing();
    error = std::nullopt;
    if (!*bucket)
        return;
    startOver();
    if (const auto* const known = *cache ? (*cache)->entry(key()) : nullptr) {
        cachedAt = known->fetchedAt;
        rows.show(known->files, *mode);
        return;
    }
    rows.show({}, *mode);
    listAgain();
}

void BrowserModel::refresh()
{
    if (!*bucket)
        return;
    stopListing();
    error = std::nullopt;
    if (*cache)
        (*cache)->invalidate((*bucket)->bucketID, *prefix);
    listAgain();
}

void BrowserModel::loadMore()
{
    if (!*hasMore || *isLoading)
        return;
    error = std::nullopt;
    listNextPage();
}

void BrowserModel::retry()
{
    if (failedAtNextPage_ && *hasMore)
        loadMore();
    else if (rows.entries->empty())
        load();
    else
        refresh();
}

void BrowserModel::afterWrite(const std::string& bucketID)
{
    if (*cache)
        (*cache)->invalidate(bucketID);
    if (!*bucket || (*bucket)->bucketID != bucketID)
        return;
    // A listing that every write restarted would never end.
    if (*isLoading)
        mustListAgain_ = true;
    else
        listAgain();
}

void BrowserModel::startOver()
{
    cachedAt = std::nullopt;
    hasMore = false;
    next_ = {};
}

void BrowserModel::stopListing()
{
    outdateTickets();
    if (listing_)
        listing_->cancel();
    listing_.reset();
    mustListAgain_ = false;
    isLoading = false;
}

bool BrowserModel::canList() const
{
    return *bucket && *session && !listRefusal((*session)->authorization);
}

void BrowserModel::listAgain()
{
    if (!canList())
        return;
    ListingRequest request{*session, key(), {}, std::min(rows.entries->size(), maxRelistedRows), {}};
    request.before.mode = *mode;
    request.before.order = *rows.sortOrder;
    startListing(std::move(request), false);
}

void BrowserModel::listNextPage()
{
    if (canList())
        startListing({*session, key(), next_, 0, rows.arrangement()}, true);
}

void BrowserModel::startListing(ListingRequest request, bool isNextPage)
{
    isLoading = true;
    listing_ = tasks_.start(runListing(this, ticket(), std::move(request), isNextPage));
}

Task<> BrowserModel::runListing(QPointer<BrowserModel> model, Ticket issued, ListingRequest request, bool isNextPage)
{
    const auto listedKey = request.key;
    ListedRows listed;
    std::exception_ptr failure;
    try {
        listed = co_await listRows(std::move(request));
    } catch (...) {
        failure = std::current_exception();
    }
    if (!model || !model->isCurrent(issued))
        co_return;
    model->isLoading = false;
    model->failedAtNextPage_ = failure && isNextPage;
    if (failure)
        model->fail(*issued.session, listedKey.bucketID, failure);
    else
        model->showListed(listedKey, std::move(listed));
    if (std::exchange(model->mustListAgain_, false))
        model->listAgain();
}

void BrowserModel::showListed(const ListingCache::Key& listedKey, ListedRows listed)
{
    error = std::nullopt;
    cachedAt = std::nullopt;
    next_ = std::move(listed.next);
    hasMore = next_.name.has_value();
    // A folder that was read in part would come back shorter than it is, and one with a write since would be outdated.
    if (!*hasMore && *cache && !mustListAgain_)
        (*cache)->store(listedKey, listed.rows.entries, std::chrono::system_clock::now());
    rows.show(std::move(listed.rows));
}

void BrowserModel::fail(const B2Session& asked, const std::string& bucketID, const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        // Needs no sentence: the user, or the program, stopped it.
    } catch (const B2Error& refusal) {
        if (!refusal.api() || !refusal.api()->isBadBucketID()) {
            const auto ended = refusal.api() && refusal.api()->status == 401
                ? endedKeyText(asked.authorization, std::chrono::system_clock::now())
                : std::nullopt;
            error = ended.value_or(refusal.what());
            return;
        }
        error = "This bucket no longer exists";
        if (onBucketGone)
            tasks_.start(onBucketGone(bucketID));
    } catch (const std::exception& other) {
        error = other.what();
    }
}
