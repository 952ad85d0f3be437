#include "B2Kit/uploads/ByteTally.h"

#include <algorithm>

ByteTally::ByteTally(std::int64_t baseline, std::int64_t total, B2Progress onProgress)
    : baseline_(baseline)
    , total_(total)
    , onProgress_(std::move(onProgress))
{
}

void ByteTally::report(int partNumber, std::int64_t bytes)
{
    if (!onProgress_)
        return;
    const std::lock_guard lock(mutex_);
    auto& counted = sentByPart_[partNumber];
    sent_ += bytes - counted;
    counted = bytes;
    onProgress_(std::min(baseline_ + sent_, total_), total_);
}
