#include "foundation/views/tables/RowPlan.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>

namespace {

/// More ranges than this are gathered into one.
constexpr std::size_t maxRanges = 16;

std::size_t at(int index)
{
    return static_cast<std::size_t>(index);
}

void extend(std::vector<RowRange>& ranges, int row)
{
    if (ranges.empty() || ranges.back().first + ranges.back().count != row)
        ranges.push_back({row, 0});
    ++ranges.back().count;
}

void planRemovals(RowPlan& plan, std::span<const int> targets)
{
    const int count = static_cast<int>(targets.size());
    for (int row = 0; row < count; ++row) {
        if (targets[at(row)] < 0)
            extend(plan.removed, row);
    }
    std::ranges::reverse(plan.removed);
    if (plan.removed.size() <= maxRanges)
        return;
    plan.orderBefore.reserve(targets.size());
    for (const bool takesLeaving : {false, true}) {
        for (int row = 0; row < count; ++row) {
            if ((targets[at(row)] < 0) == takesLeaving)
                plan.orderBefore.push_back(row);
        }
    }
    const auto leaving = static_cast<int>(std::ranges::count_if(targets, [](int target) { return target < 0; }));
    plan.removed = {{count - leaving, leaving}};
}

} // namespace

std::vector<int> matchRows(std::span<const std::string_view> old, std::span<const std::string_view> wanted)
{
    std::vector<int> targets(old.size(), -1);
    // Most changes leave the beginning and the end as they are.
    const std::size_t shorter = std::min(old.size(), wanted.size());
    std::size_t begin = 0;
    for (; begin < shorter && old[begin] == wanted[begin]; ++begin)
        targets[begin] = static_cast<int>(begin);
    std::size_t oldEnd = old.size();
    std::size_t wantedEnd = wanted.size();
    while (oldEnd > begin && wantedEnd > begin && old[oldEnd - 1] == wanted[wantedEnd - 1])
        targets[--oldEnd] = static_cast<int>(--wantedEnd);
    if (oldEnd == begin || wantedEnd == begin)
        return targets;

    // The first place of each key, and from each place the next one of the same key.
    std::unordered_map<std::string_view, int> places;
    places.reserve(wantedEnd - begin);
    std::vector<int> nextPlace(wanted.size(), -1);
    for (std::size_t place = wantedEnd; place-- > begin;) {
        const auto [entry, isNew] = places.try_emplace(wanted[place], static_cast<int>(place));
        if (!isNew) {
            nextPlace[place] = entry->second;
            entry->second = static_cast<int>(place);
        }
    }
    for (std::size_t row = begin; row < oldEnd; ++row) {
        const auto entry = places.find(old[row]);
        if (entry == places.end() || entry->second < 0)
            continue;
        targets[row] = entry->second;
        entry->second = nextPlace[at(entry->second)];
    }
    return targets;
}

RowPlan planRows(std::span<const int> targets, int wantedCount)
{
    RowPlan plan;
    planRemovals(plan, targets);

    std::vector<int> sources(at(wantedCount), -1); // For each place, the row it has once the others are removed.
    bool isInOrder = true;
    int kept = 0;
    int previous = -1;
    for (const int target : targets) {
        if (target < 0)
            continue;
        sources[at(target)] = kept++;
        isInOrder = isInOrder && target > previous;
        previous = target;
    }
    for (int place = 0; place < wantedCount; ++place) {
        if (sources[at(place)] >= 0)
            continue;
        sources[at(place)] = kept + static_cast<int>(plan.added.size());
        plan.added.push_back(place);
        extend(plan.inserted, place);
    }
    if (isInOrder && plan.inserted.size() <= maxRanges)
        return plan;
    if (!plan.added.empty())
        plan.inserted = {{kept, static_cast<int>(plan.added.size())}};
    plan.orderAfter = std::move(sources);
    return plan;
}
