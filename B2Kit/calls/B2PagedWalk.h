#pragma once

#include "async/Cancelled.h"
#include "async/Stream.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

// Inside B2Kit: turns a listing in pages into one sequence.

template <class Item>
struct B2WalkPage {
    std::vector<Item> items;
    bool isLast = true;
};

/// A walk through the pages, as far as its consumer has asked.
template <class Item>
struct B2PagedWalk {
    std::function<Task<B2WalkPage<Item>>()> fetch;
    B2WalkPage<Item> page{.isLast = false};
    std::size_t next = 0; ///< Index of the next item to hand out.
};

template <class Item>
Task<std::optional<Item>> nextOf(std::shared_ptr<B2PagedWalk<Item>> walk)
{
    while (walk->next == walk->page.items.size()) {
        if (walk->page.isLast)
            co_return std::nullopt;
        // Counts as the last page until another arrives: a walk that failed or was stopped does not go on.
        walk->page = {};
        walk->next = 0;
        try {
            co_await checkCancelled();
            walk->page = co_await walk->fetch();
        } catch (const Cancelled&) {
            // The consumer's own task was asked to stop. The sequence is over; this is not a failure.
            co_return std::nullopt;
        }
    }
    co_return std::move(walk->page.items[walk->next++]);
}

/// Streams the items of page after page.
///
/// @param fetch  gets the next page; called again only after one that was not the last.
template <class Item>
Stream<Item> streamOfPages(std::function<Task<B2WalkPage<Item>>()> fetch)
{
    auto walk = std::make_shared<B2PagedWalk<Item>>();
    walk->fetch = std::move(fetch);
    return Stream<Item>([walk = std::move(walk)] { return nextOf(walk); });
}
