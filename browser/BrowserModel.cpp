#include "browser/BrowserModel.h"

#include "browser/PrefixPath.h"
#include "browser/RowWorker.h"
#include "browser/actions/BrowserActions.h"
#include "foundation/Settings.h"
#include "foundation/SettingsKeys.h"

#include <utility>

namespace {

/// Up to here sorting takes less than a frame, and rows that come at once do not flicker.
constexpr std::size_t sortedAtOnce = 1000;

} // namespace

BrowserModel::BrowserModel(Settings& settings, QObject* parent)
    : Observable(parent)
    , settings_(settings)
{
}

// --- Where one is

void BrowserModel::open(std::shared_ptr<B2Session> newSession, B2Bucket newBucket)
{
    if (*session != newSession)
        close();
    session = std::move(newSession);
    const auto root = rootPrefix();
    const auto before = place();
    if (before && (before->bucket.bucketID != newBucket.bucketID || before->prefix != root)) {
        back_.push_back(*before);
        forward_.clear();
    }
    moveTo({std::move(newBucket), root});
}

void BrowserModel::close()
{
    stopListing();
    if (*cache)
        (*cache)->clear();
    back_.clear();
    forward_.clear();
    session = nullptr;
    bucket = std::nullopt;
    prefix = std::string();
    filter = std::string();
    error = std::nullopt;
    cachedAt = std::nullopt;
    arrivalID = std::nullopt;
    hasMore = false;
    nextName = std::nullopt;
    nextID = std::nullopt;
    showEntries({});
}

void BrowserModel::navigate(std::string newPrefix)
{
    const auto before = place();
    if (!before)
        return;
    if (*session) {
        if (auto refusal = prefixRefusal((*session)->authorization, newPrefix)) {
            error = std::move(refusal);
            return;
        }
    }
    if (before->prefix != newPrefix) {
        back_.push_back(*before);
        forward_.clear();
    }
    moveTo({before->bucket, std::move(newPrefix)});
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
    const auto before = place();
    if (!before || back_.empty())
        return;
    forward_.push_back(*before);
    auto target = std::move(back_.back());
    back_.pop_back();
    moveTo(std::move(target));
}

void BrowserModel::goForward()
{
    const auto before = place();
    if (!before || forward_.empty())
        return;
    back_.push_back(*before);
    auto target = std::move(forward_.back());
    forward_.pop_back();
    moveTo(std::move(target));
}

bool BrowserModel::canGoUp() const
{
    return bucket->has_value() && *prefix != rootPrefix();
}

std::string BrowserModel::rootPrefix() const
{
    return *session ? (*session)->authorization.storage.allowed.namePrefix.value_or("") : "";
}

std::optional<BrowserModel::Place> BrowserModel::place() const
{
    return *bucket ? std::optional(Place{**bucket, *prefix}) : std::nullopt;
}

void BrowserModel::moveTo(Place target)
{
    const bool isSameBucket = *bucket && (*bucket)->bucketID == target.bucket.bucketID;
    const bool comesFromBelow =
        isSameBucket && prefix->size() > target.prefix.size() && prefix->starts_with(target.prefix);
    arrivalID = comesFromBelow ? std::optional("folder:" + folderTowards(target.prefix, *prefix)) : std::nullopt;
    if (!isSameBucket && *session) {
        const auto stored =
            settings_.text(SettingsKeys::browserSort((*session)->authorization.accountID, target.bucket.bucketID));
        sortOrder = decodeSort(stored.value_or(""), browserColumnKeys(), defaultBrowserOrder());
    }
    bucket = std::move(target.bucket);
    prefix = std::move(target.prefix);
    filter = std::string();
    // Back and forward are offered anew even when the place is the same.
    markChanged();
    load();
}

ListingCache::Key BrowserModel::key() const
{
    return {(*bucket)->bucketID, *prefix, modeName(*mode)};
}

// --- What is shown of it

void BrowserModel::setMode(Mode newMode)
{
    if (*mode == newMode)
        return;
    mode = newMode;
    load();
}

void BrowserModel::setSortOrder(std::vector<SortOrder> order)
{
    if (order.empty() || *sortOrder == order)
        return;
    sortOrder = std::move(order);
    if (*session && *bucket) {
        settings_.set(SettingsKeys::browserSort((*session)->authorization.accountID, (*bucket)->bucketID),
            encodeSort(*sortOrder));
    }
    rearrange();
}

void BrowserModel::setFilter(std::string text)
{
    if (*filter == text)
        return;
    filter = std::move(text);
    publish();
}

const RowIndexes& BrowserModel::listed()
{
    if (listedCache_.version != listingVersion_ || listedCache_.mode != *mode)
        adopt(arrange(*entries, *mode, *sortOrder, arrangement()));
    return listedCache_.result;
}

const RowIndexes& BrowserModel::sorted()
{
    if (!isArranged())
        adopt(arrange(*entries, *mode, *sortOrder, arrangement()));
    return sortedCache_.result;
}

Arrangement BrowserModel::arrangement() const
{
    if (sortedCache_.version != listedCache_.version || sortedCache_.mode != listedCache_.mode || !listedCache_.result)
        return {.mode = *mode, .order = *sortOrder};
    return {sortedCache_.entries, sortedCache_.mode, sortedCache_.order, listedCache_.result, sortedCache_.result};
}

bool BrowserModel::isArranged() const
{
    return sortedCache_.version == listingVersion_ && sortedCache_.mode == *mode && sortedCache_.order == *sortOrder;
}

void BrowserModel::showEntries(BrowserEntries newEntries)
{
    if (*entries == newEntries && isArranged()) {
        publish();
        return;
    }
    entries = std::move(newEntries);
    ++listingVersion_;
    // What was shown belongs to another place.
    shown = ShownRows();
    rearrange();
}

void BrowserModel::rearrange()
{
    if (isArranged())
        publish();
    else if (entries->size() <= sortedAtOnce)
        adopt(arrange(*entries, *mode, *sortOrder, arrangement()));
    else
        tasks_.start(runArranging(this, listingVersion_));
}

Task<> BrowserModel::runArranging(QPointer<BrowserModel> model, std::int64_t version)
{
    if (!model || model->listingVersion_ != version || model->isArranged())
        co_return;
    auto arranged = co_await arrangeAgain(
        RowWorker::shared(), *model->entries, *model->mode, *model->sortOrder, model->arrangement());
    // Whoever changed the order or the rows meanwhile has asked for another arrangement.
    if (model && model->listingVersion_ == version && *model->sortOrder == arranged.order)
        model->adopt(std::move(arranged));
}

void BrowserModel::adopt(Arrangement arranged)
{
    listedCache_ = {listingVersion_, arranged.mode, std::move(arranged.listed)};
    sortedCache_ = {listingVersion_, arranged.mode, std::move(arranged.order), std::move(arranged.entries),
        std::move(arranged.sorted)};
    publish();
}

void BrowserModel::publish()
{
    // Rows that are still being sorted follow when they are ready.
    if (sortedCache_.version != listingVersion_ || sortedCache_.mode != *mode)
        return;
    shown = ShownRows{sortedCache_.entries, filtered(sortedCache_.entries, sortedCache_.result, *filter)};
}
