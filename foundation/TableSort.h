#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// One column of a table's sort.
struct SortOrder {
    std::string key; ///< The column's stored name, without "," and ":".
    bool ascending = true;

    bool operator==(const SortOrder&) const = default;
};

/// Returns the stored form of a sort: "size:desc,name:asc".
std::string encodeSort(std::span<const SortOrder> order);

/// Reads a stored sort; parts that are damaged or name no known column are skipped.
///
/// @param knownKeys  the sortable columns of the table.
/// @returns `defaultOrder` when nothing valid remains.
std::vector<SortOrder> decodeSort(
    std::string_view text, std::span<const std::string> knownKeys, std::vector<SortOrder> defaultOrder);
