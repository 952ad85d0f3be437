#pragma once

#include "browser/BrowserRow.h"

#include <cstddef>
#include <memory>
#include <vector>

/// The rows of a listing, in the order of the service, page by page.
///
/// A value that never copies a row: copies share the pages, so that a page is appended to 100,000 rows, kept in a cache
/// or handed to another thread at the cost of a hundred pointers. Reading a row costs a search among the pages.
class BrowserEntries {
public:
    using Page = std::vector<BrowserRow>;

    BrowserEntries() = default;
    explicit BrowserEntries(Page firstPage);

    std::size_t size() const { return ends_.empty() ? 0 : ends_.back(); }
    bool empty() const { return size() == 0; }
    const BrowserRow& operator[](std::size_t index) const;

    /// Returns these rows with a page after them.
    BrowserEntries appending(Page page) const;

    /// Returns whether these rows begin with the very pages of `earlier`.
    bool extends(const BrowserEntries& earlier) const;

    /// Returns every row in order, for work on all of them.
    std::vector<const BrowserRow*> rows() const;

    /// The same pages, not merely equal ones.
    bool operator==(const BrowserEntries& other) const { return pages_ == other.pages_; }

private:
    std::vector<std::shared_ptr<const Page>> pages_; ///< None is empty.
    std::vector<std::size_t> ends_;                  ///< One after the index of each page's last row.
};
