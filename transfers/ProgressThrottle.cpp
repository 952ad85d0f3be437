#include "transfers/ProgressThrottle.h"

#include <algorithm>
#include <utility>

ProgressThrottle::ProgressThrottle(Step step, Update onUpdate)
    : step_(step)
    , onUpdate_(std::move(onUpdate))
{
}

void ProgressThrottle::report(std::int64_t done, std::int64_t total)
{
    if (passes(done, total))
        onUpdate_(done, total);
}

bool ProgressThrottle::passes(std::int64_t done, std::int64_t total)
{
    const auto fraction = static_cast<std::int64_t>(step_.fractionOfTotal * static_cast<double>(total));
    const std::lock_guard lock(mutex_);
    const bool isLast = total >= 1 && done >= total;
    // A retry that starts again is shown at once.
    const bool startsOver = done < lastReported_;
    if (!isLast && !startsOver && done - lastReported_ < std::max(fraction, step_.minimumStep))
        return false;
    lastReported_ = done;
    return true;
}
