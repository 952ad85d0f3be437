#include "browser/BrowserRows.h"

#include "browser/RowWorker.h"

#include <utility>

namespace {

/// Up to this many rows, sorting takes less than a frame, and rows that appear at once do not flicker.
constexpr std::size_t sortedAtOnce = 1000;

} // namespace

BrowserRows::BrowserRows(Observable* owner)
    : entries(owner)
    , shown(owner)
    , sortOrder(owner, defaultBrowserOrder())
    , filter(owner)
    , owner_(owner)
    , arranged_{.order = defaultBrowserOrder()}
{
}

void BrowserRows::show(BrowserEntries newEntries, BrowserMode mode)
{
    entries = std::move(newEntries);
    mode_ = mode;
    if (!isArranged())
        shown = ShownRows(); // The rows shown so far belong to another listing.
    arrangeAll();
}

void BrowserRows::show(Arrangement arranged)
{
    entries = arranged.entries;
    mode_ = arranged.mode;
    adopt(std::move(arranged));
    arrangeAll();
}

void BrowserRows::sort(std::vector<SortOrder> order)
{
    sortOrder = std::move(order);
    arrangeAll();
}

void BrowserRows::setFilter(std::string text)
{
    filter = std::move(text);
    publish();
}

Arrangement BrowserRows::arrangement() const
{
    return arranged_.entries == *entries && arranged_.mode == mode_ ? arranged_
                                                                    : Arrangement{.mode = mode_, .order = *sortOrder};
}

bool BrowserRows::isArranged() const
{
    return arranged_.entries == *entries && arranged_.mode == mode_ && arranged_.order == *sortOrder;
}

void BrowserRows::arrangeAll()
{
    if (isArranged())
        publish();
    else if (entries->size() <= sortedAtOnce)
        adopt(arrange(*entries, mode_, *sortOrder, arranged_));
    else
        tasks_.start(runArranging(owner_, this));
}

Task<> BrowserRows::runArranging(QPointer<Observable> owner, BrowserRows* rows)
{
    if (!owner || rows->isArranged())
        co_return;
    auto arranged =
        co_await arrangeAgain(RowWorker::shared(), *rows->entries, rows->mode_, *rows->sortOrder, rows->arrangement());
    // A change in the meantime has asked for another arrangement.
    if (owner && arranged.entries == *rows->entries && arranged.mode == rows->mode_
        && arranged.order == *rows->sortOrder)
        rows->adopt(std::move(arranged));
}

void BrowserRows::adopt(Arrangement arranged)
{
    arranged_ = std::move(arranged);
    publish();
}

void BrowserRows::publish()
{
    // Rows that are still being sorted follow when they are ready.
    if (arranged_.entries == *entries && arranged_.mode == mode_)
        shown = ShownRows{arranged_.entries, filtered(arranged_.entries, arranged_.sorted, *filter)};
}
