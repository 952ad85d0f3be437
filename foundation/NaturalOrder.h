#pragma once

#include <compare>
#include <string>

/// A name's place in the order a file manager shows: case is ignored, runs of digits compare by value, letters sort
/// as in the user's language. Names that differ in case alone still have one order.
///
/// Made once a name (about a microsecond, from any thread); a comparison then is one of bytes, so that 100,000 rows
/// are sorted within some tens of milliseconds.
class NaturalSortKey {
public:
    /// Before every other.
    NaturalSortKey() = default;

    auto operator<=>(const NaturalSortKey&) const = default;

private:
    friend NaturalSortKey naturalSortKey(const std::string& name);

    std::string bytes_;
};

NaturalSortKey naturalSortKey(const std::string& name);
