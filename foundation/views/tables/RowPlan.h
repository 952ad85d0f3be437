#pragma once

#include <span>
#include <string_view>
#include <vector>

/// How the rows of a table become other rows. Functions of values; their cost grows with the number of rows, not with
/// its square.

/// Finds the place of every old row among the wanted ones, or -1 for a row that goes. No two share a place; of several
/// rows with one key, the first stays the first.
std::vector<int> matchRows(std::span<const std::string_view> old, std::span<const std::string_view> wanted);

struct RowRange {
    int first = 0;
    int count = 0;

    bool operator==(const RowRange&) const = default;
};

/// The steps from the old rows to the wanted ones, in this order.
///
/// An order lists for each place the row that moves there; it is empty where nothing moves. Scattered rows are
/// gathered first, so that few ranges are announced to the views.
struct RowPlan {
    std::vector<int> orderBefore;   ///< Brings the rows that go to the end.
    std::vector<RowRange> removed;  ///< The last first.
    std::vector<RowRange> inserted; ///< The first first.
    std::vector<int> added;         ///< Places of the new rows among the wanted ones, as they are inserted.
    std::vector<int> orderAfter;    ///< Brings the wanted order.
};

/// @param targets  what `matchRows` returned.
RowPlan planRows(std::span<const int> targets, int wantedCount);
