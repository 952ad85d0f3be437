#pragma once

#include <compare>
#include <functional>
#include <string>
#include <utility>

/// A text that is an enumeration at the service and may grow: unknown values are kept as they are.
template <class Tag>
struct B2OpenText {
    std::string rawValue;

    B2OpenText() = default;
    explicit B2OpenText(std::string raw)
        : rawValue(std::move(raw))
    {
    }

    auto operator<=>(const B2OpenText&) const = default;
};

template <class Tag>
struct std::hash<B2OpenText<Tag>> {
    std::size_t operator()(const B2OpenText<Tag>& text) const noexcept
    {
        return std::hash<std::string>()(text.rawValue);
    }
};
