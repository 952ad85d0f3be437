#pragma once

#include <QCollatorSortKey>

#include <compare>
#include <optional>
#include <string>

/// A name's place in the order a file manager shows: case is ignored, runs of digits compare by value, letters sort
/// as in the user's language. Names that differ in case alone still have one order.
///
/// Made once a name (some microseconds, from any thread); a comparison then costs a comparison of bytes.
class NaturalSortKey {
public:
    /// Before every other.
    NaturalSortKey() = default;

    std::strong_ordering operator<=>(const NaturalSortKey& other) const;
    bool operator==(const NaturalSortKey& other) const { return *this <=> other == 0; }

private:
    friend NaturalSortKey naturalSortKey(const std::string& name);

    std::optional<QCollatorSortKey> collated_; ///< Absent in a default key only.
    std::string name_;                         ///< Decides between names the locale holds for equal.
};

NaturalSortKey naturalSortKey(const std::string& name);
