#pragma once

#include "browser/BrowserEntries.h"
#include "foundation/TableSort.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// Chooses and sorts the rows of a listing. Functions of values, called on a worker for long listings.

/// The table's columns, in their first order.
enum class BrowserColumn { name, size, modified, state, replication, checksum };
inline constexpr int browserColumnCount = 6;

/// The names of the columns in stored sort orders, by column.
std::span<const std::string> browserColumnKeys();
std::vector<SortOrder> defaultBrowserOrder();

/// Positions in a listing. Shared, never changed, never null in a result.
using RowIndexes = std::shared_ptr<const std::vector<std::uint32_t>>;

/// A listing with its rows chosen and sorted.
struct Arrangement {
    BrowserEntries entries;
    BrowserMode mode = BrowserMode::current;
    std::vector<SortOrder> order;
    RowIndexes listed = std::make_shared<const std::vector<std::uint32_t>>(); ///< In the order of the service.
    RowIndexes sorted = listed;
};

/// Chooses and sorts the rows: folders first, then by `order`, then by name, then as listed.
///
/// @param earlier  an arrangement to go on from: if `entries` extend its own, only the new rows are sorted and merged
/// in.
Arrangement arrange(
    const BrowserEntries& entries, BrowserMode mode, const std::vector<SortOrder>& order, const Arrangement& earlier);

/// Returns those of `rows` whose names contain `filter`, without regard to case; all of them for an empty filter.
RowIndexes filtered(const BrowserEntries& entries, const RowIndexes& rows, const std::string& filter);

/// Returns the files of a page that `entries` do not have yet, as rows. A service may repeat rows where one page meets
/// the next.
BrowserEntries::Page newRows(const BrowserEntries& entries, std::vector<B2FileVersion> files);
