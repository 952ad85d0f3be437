#pragma once

#include "async/Task.h"

#include <functional>
#include <optional>

/// A sequence that is pulled: nothing runs unless the consumer asks for the next element.
template <class T>
class Stream {
public:
    explicit Stream(std::function<Task<std::optional<T>>()> next)
        : next_(std::move(next))
    {
    }

    /// The next element, or nothing at the end. Throws what the source throws.
    Task<std::optional<T>> next() { return next_(); }

private:
    std::function<Task<std::optional<T>>()> next_;
};
