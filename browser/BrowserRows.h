#pragma once

#include "browser/RowOrder.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"

#include <QPointer>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The rows of a listing that the table shows, filtered and sorted. A value; copies share everything.
struct ShownRows {
    BrowserEntries entries;
    RowIndexes rows = std::make_shared<const std::vector<std::uint32_t>>();

    std::size_t size() const { return rows->size(); }
    const BrowserRow& operator[](std::size_t row) const { return entries[(*rows)[row]]; }

    /// The very same rows, not merely equal ones.
    bool operator==(const ShownRows& other) const { return rows == other.rows && entries == other.entries; }
};

/// The rows of a listing: as listed, sorted, and filtered for the table. A part of its owner, which announces changes.
///
/// Lives on the main thread. Long listings are sorted on a worker, and `shown` changes when they are ready.
class BrowserRows {
public:
    explicit BrowserRows(Observable* owner);

    Observed<BrowserEntries> entries;           ///< As listed.
    Observed<ShownRows> shown;                  ///< As the table shows them.
    Observed<std::vector<SortOrder>> sortOrder; ///< Never empty.
    Observed<std::string> filter;               ///< Shows only names that contain it.

    /// Shows another listing. Nothing is shown of the one before while the new one is sorted.
    void show(BrowserEntries newEntries, BrowserMode mode);
    /// Shows a listing that was sorted already; it is sorted again if the order has changed since.
    void show(Arrangement arranged);
    void sort(std::vector<SortOrder> order);
    void setFilter(std::string text);

    /// The rows as they are arranged now, for a next page to go on from.
    Arrangement arrangement() const;

private:
    static Task<> runArranging(QPointer<Observable> owner, BrowserRows* rows);

    bool isArranged() const;
    void arrangeAll();
    void adopt(Arrangement arranged);
    void publish();

    Observable* owner_;
    BrowserMode mode_ = BrowserMode::current;
    Arrangement arranged_; ///< The last one that was ready; may be of an earlier order or of an earlier listing.
    TaskScope tasks_;
};
