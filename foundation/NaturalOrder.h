#pragma once

#include <compare>
#include <string>

/// A sort key that orders names as a file manager does: case is ignored, runs of digits compare by value, and letters
/// sort as in the user's language. Names that differ only in case still have a fixed order.
///
/// Made once for each name (about a microsecond, from any thread). Keys are compared byte by byte, so that 100,000 rows
/// sort within some tens of milliseconds.
class NaturalSortKey {
public:
    /// Sorts before every other key.
    NaturalSortKey() = default;

    auto operator<=>(const NaturalSortKey&) const = default;

private:
    friend NaturalSortKey naturalSortKey(const std::string& name);

    std::string bytes_;
};

NaturalSortKey naturalSortKey(const std::string& name);
