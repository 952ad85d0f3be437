#include "browser/RowWorker.h"

#include <utility>

RowWorker::RowWorker()
    : Actor(executor_)
{
}

RowWorker& RowWorker::shared()
{
    static auto* const worker = new RowWorker;
    return *worker;
}

Task<Arrangement> addPage(RowWorker&, Arrangement before, std::vector<B2FileVersion> files)
{
    co_await checkCancelled();
    const auto entries = before.entries.appending(newRows(before.entries, std::move(files)));
    co_return arrange(entries, before.mode, before.order, before);
}

Task<Arrangement> arrangeAgain(
    RowWorker&, BrowserEntries entries, BrowserMode mode, std::vector<SortOrder> order, Arrangement earlier)
{
    co_await checkCancelled();
    co_return arrange(entries, mode, order, earlier);
}
