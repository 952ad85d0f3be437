#include "browser/RowOrder.h"

#include "browser/RowTexts.h"

#include <algorithm>
#include <compare>
#include <set>
#include <string_view>
#include <utility>

namespace {

using Indexes = std::vector<std::uint32_t>;

BrowserColumn columnOf(const std::string& key)
{
    const auto keys = browserColumnKeys();
    return static_cast<BrowserColumn>(std::ranges::find(keys, key) - keys.begin());
}

/// Returns the text that a text column is sorted by; empty for the other columns.
std::string sortText(const BrowserRow& row, BrowserColumn column)
{
    switch (column) {
    case BrowserColumn::state:
        return stateText(row);
    case BrowserColumn::replication:
        return replicationText(row);
    case BrowserColumn::checksum:
        return checksumText(row);
    default:
        return {};
    }
}

/// Compares rows by position. Makes the texts of the sorted columns once.
class RowLess {
public:
    RowLess(const BrowserEntries& entries, const std::vector<SortOrder>& order)
        : rows_(entries.rows())
    {
        for (const auto& [key, ascending] : order) {
            Step step{columnOf(key), ascending, {}};
            if (step.column >= BrowserColumn::state) {
                step.texts.reserve(rows_.size());
                for (const auto* row : rows_)
                    step.texts.push_back(sortText(*row, step.column));
            }
            steps_.push_back(std::move(step));
        }
    }

    bool operator()(std::uint32_t left, std::uint32_t right) const
    {
        const BrowserRow& first = *rows_[left];
        const BrowserRow& second = *rows_[right];
        const bool isFolder = first.kind == RowKind::folder;
        if (isFolder != (second.kind == RowKind::folder))
            return isFolder;
        for (const auto& step : steps_) {
            const auto order = compare(step, left, right);
            if (order != 0)
                return step.ascending ? order < 0 : order > 0;
        }
        // Versions of one name keep the service's order: newest first.
        const auto byName = first.nameKey <=> second.nameKey;
        return byName != 0 ? byName < 0 : left < right;
    }

private:
    struct Step {
        BrowserColumn column;
        bool ascending;
        std::vector<std::string> texts;
    };

    std::strong_ordering compare(const Step& step, std::uint32_t left, std::uint32_t right) const
    {
        switch (step.column) {
        case BrowserColumn::name:
            return rows_[left]->nameKey <=> rows_[right]->nameKey;
        case BrowserColumn::size:
            return rows_[left]->file.contentLength <=> rows_[right]->file.contentLength;
        case BrowserColumn::modified:
            return rows_[left]->modified <=> rows_[right]->modified;
        default:
            return step.texts[left] <=> step.texts[right];
        }
    }

    std::vector<const BrowserRow*> rows_;
    std::vector<Step> steps_;
};

bool isListed(const BrowserRow& row, BrowserMode mode)
{
    return mode == BrowserMode::allVersions || (row.kind != RowKind::hidden && row.kind != RowKind::unfinished);
}

} // namespace

std::span<const std::string> browserColumnKeys()
{
    static const std::array<std::string, browserColumnCount> keys{
        "name", "size", "modified", "state", "replication", "checksum"};
    return keys;
}

std::vector<SortOrder> defaultBrowserOrder()
{
    return {{"name", true}};
}

Arrangement arrange(
    const BrowserEntries& entries, BrowserMode mode, const std::vector<SortOrder>& order, const Arrangement& earlier)
{
    const bool continuesEarlier = earlier.mode == mode && entries.extends(earlier.entries);
    Indexes listed = continuesEarlier ? *earlier.listed : Indexes();
    const auto known = static_cast<std::ptrdiff_t>(listed.size());
    for (std::size_t i = continuesEarlier ? earlier.entries.size() : 0; i < entries.size(); ++i) {
        if (isListed(entries[i], mode))
            listed.push_back(static_cast<std::uint32_t>(i));
    }

    const RowLess less(entries, order);
    Indexes sorted;
    if (continuesEarlier && earlier.order == order) {
        Indexes added(listed.begin() + known, listed.end());
        std::ranges::sort(added, std::ref(less));
        sorted.reserve(listed.size());
        std::ranges::merge(*earlier.sorted, added, std::back_inserter(sorted), std::ref(less));
    } else {
        sorted = listed;
        std::ranges::sort(sorted, std::ref(less));
    }
    return {entries, mode, order, std::make_shared<const Indexes>(std::move(listed)),
        std::make_shared<const Indexes>(std::move(sorted))};
}

RowIndexes filtered(const BrowserEntries& entries, const RowIndexes& rows, const std::string& filter)
{
    if (filter.empty())
        return rows;
    const std::string wanted = folded(filter);
    Indexes matching;
    for (const auto index : *rows) {
        if (entries[index].foldedName.contains(wanted))
            matching.push_back(index);
    }
    return std::make_shared<const Indexes>(std::move(matching));
}

BrowserEntries::Page newRows(const BrowserEntries& entries, std::vector<B2FileVersion> files)
{
    // Listings are ordered by name, so only rows from the page's first name on can be repeated.
    std::set<std::string_view> known;
    for (std::size_t i = entries.size(); !files.empty() && i > 0; --i) {
        const auto& row = entries[i - 1];
        if (row.file.fileName < files.front().fileName)
            break;
        known.insert(row.id);
    }
    BrowserEntries::Page page;
    page.reserve(files.size());
    for (auto& file : files) {
        auto row = makeRow(std::move(file));
        if (!known.contains(row.id))
            page.push_back(std::move(row));
    }
    return page;
}
