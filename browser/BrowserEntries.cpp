#include "browser/BrowserEntries.h"

#include <algorithm>
#include <utility>

BrowserEntries::BrowserEntries(Page firstPage)
    : BrowserEntries(BrowserEntries().appending(std::move(firstPage)))
{
}

const BrowserRow& BrowserEntries::operator[](std::size_t index) const
{
    const auto page = static_cast<std::size_t>(std::ranges::upper_bound(ends_, index) - ends_.begin());
    return (*pages_[page])[index - (page == 0 ? 0 : ends_[page - 1])];
}

BrowserEntries BrowserEntries::appending(Page page) const
{
    auto longer = *this;
    if (page.empty())
        return longer;
    longer.ends_.push_back(size() + page.size());
    longer.pages_.push_back(std::make_shared<const Page>(std::move(page)));
    return longer;
}

bool BrowserEntries::extends(const BrowserEntries& earlier) const
{
    return pages_.size() >= earlier.pages_.size()
        && std::equal(earlier.pages_.begin(), earlier.pages_.end(), pages_.begin());
}

std::vector<const BrowserRow*> BrowserEntries::rows() const
{
    std::vector<const BrowserRow*> all;
    all.reserve(size());
    for (const auto& page : pages_) {
        for (const auto& row : *page)
            all.push_back(&row);
    }
    return all;
}
