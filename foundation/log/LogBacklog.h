#pragma once

#include "B2Kit/B2Log.h"

#include <cstddef>
#include <deque>
#include <utility>
#include <vector>

/// Log lines on their way to a slower reader, in order. Guarded by its owner.
///
/// Bounded: when it is full, the debug lines are dropped first, then the oldest quarter. The reader learns how many
/// were dropped.
template <class Line>
class LogBacklog {
public:
    static constexpr std::size_t capacity = 20'000;

    bool isEmpty() const { return lines_.empty(); }

    void push(Line line)
    {
        if (lines_.size() >= capacity)
            makeRoom();
        lines_.push_back(std::move(line));
    }

    /// The oldest lines, at most `count`.
    std::vector<Line> take(std::size_t count)
    {
        std::vector<Line> taken;
        while (!lines_.empty() && taken.size() < count) {
            taken.push_back(std::move(lines_.front()));
            lines_.pop_front();
        }
        return taken;
    }

    /// Returns how many lines were dropped since the last call.
    std::size_t takeLeftOut() { return std::exchange(leftOut_, 0); }

    void clear()
    {
        lines_.clear();
        leftOut_ = 0;
    }

private:
    void makeRoom()
    {
        leftOut_ += std::erase_if(lines_, [](const Line& line) { return line.level == B2LogLevel::debug; });
        // Drops several at once, because each time costs a pass over all lines.
        for (; lines_.size() > capacity / 4 * 3; ++leftOut_)
            lines_.pop_front();
    }

    std::deque<Line> lines_;
    std::size_t leftOut_ = 0;
};

/// The line that says how many lines were dropped.
B2LogEvent leftOutEvent(std::size_t count);
