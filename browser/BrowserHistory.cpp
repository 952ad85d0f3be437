#include "browser/BrowserHistory.h"

#include <utility>

namespace {

std::optional<BrowserPlace> step(
    std::vector<BrowserPlace>& from, std::vector<BrowserPlace>& to, const BrowserPlace& present)
{
    if (from.empty())
        return std::nullopt;
    to.push_back(present);
    auto target = std::move(from.back());
    from.pop_back();
    return target;
}

} // namespace

void BrowserHistory::leave(BrowserPlace present)
{
    back_.push_back(std::move(present));
    forward_.clear();
}

std::optional<BrowserPlace> BrowserHistory::goBack(const BrowserPlace& present)
{
    return step(back_, forward_, present);
}

std::optional<BrowserPlace> BrowserHistory::goForward(const BrowserPlace& present)
{
    return step(forward_, back_, present);
}

void BrowserHistory::clear()
{
    back_.clear();
    forward_.clear();
}

void BrowserHistory::forget(const std::string& bucketID)
{
    for (auto* const places : {&back_, &forward_})
        std::erase_if(*places, [&](const BrowserPlace& place) { return place.bucket.bucketID == bucketID; });
}
