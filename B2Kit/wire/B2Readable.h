#pragma once

#include <optional>
#include <utility>

/// A value that the key may lack the right to read.
template <class T>
class B2Readable {
public:
    static B2Readable known(T value) { return B2Readable(std::move(value)); }
    static B2Readable notAuthorized() { return B2Readable(std::nullopt); }

    bool isKnown() const { return value_.has_value(); }
    /// The value, or null when the key may not read it.
    const T* value() const { return value_ ? &*value_ : nullptr; }

    bool operator==(const B2Readable&) const = default;

private:
    explicit B2Readable(std::optional<T> value)
        : value_(std::move(value))
    {
    }

    std::optional<T> value_;
};
