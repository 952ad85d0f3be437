#include "browser/views/BrowserTableModel.h"

#include "browser/RowTexts.h"
#include "foundation/QtText.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/TableColumns.h"

#include <QTextDocument>

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace {

/// More ranges than these are gathered into one before they are told.
constexpr int mostRanges = 16;

BrowserColumn columnAt(int column)
{
    return static_cast<BrowserColumn>(column);
}

/// Where each row of `old` stands in `next`, or -1. No two share a place.
std::vector<int> matchRows(const ShownRows& old, const ShownRows& next)
{
    std::vector<int> targets(old.size(), -1);
    if (next.entries.extends(old.entries)) {
        std::vector<int> places(next.entries.size(), -1);
        for (std::size_t i = 0; i < next.size(); ++i)
            places[(*next.rows)[i]] = static_cast<int>(i);
        for (std::size_t i = 0; i < old.size(); ++i)
            targets[i] = places[(*old.rows)[i]];
        return targets;
    }
    std::unordered_map<std::string_view, int> places;
    places.reserve(next.size());
    for (std::size_t i = 0; i < next.size(); ++i)
        places.emplace(next[i].id, static_cast<int>(i));
    for (std::size_t i = 0; i < old.size() && !places.empty(); ++i) {
        const auto place = places.find(old[i].id);
        if (place == places.end())
            continue;
        targets[i] = place->second;
        places.erase(place);
    }
    return targets;
}

QString cellText(const BrowserRow& row, BrowserColumn column)
{
    switch (column) {
    case BrowserColumn::name:
        return toQString(shownName(row));
    case BrowserColumn::size:
        return toQString(sizeCellText(row));
    case BrowserColumn::modified:
        return toQString(modifiedText(row));
    case BrowserColumn::state:
        return toQString(stateText(row));
    case BrowserColumn::replication:
        return toQString(replicationText(row));
    case BrowserColumn::checksum:
        return toQString(checksumText(row));
    }
    return {};
}

std::string cellHelp(const BrowserRow& row, BrowserColumn column)
{
    switch (column) {
    case BrowserColumn::size:
        return sizeHelp(row);
    case BrowserColumn::modified:
        return modifiedHelp(row);
    case BrowserColumn::state:
        return stateHelp(row);
    case BrowserColumn::replication:
        return replicationHelp(row);
    case BrowserColumn::checksum:
        return checksumHelp(row);
    case BrowserColumn::name:
        break; // The delegate shows a name that was shortened.
    }
    return {};
}

Symbol symbolOf(const BrowserRow& row)
{
    switch (row.kind) {
    case RowKind::folder:
    case RowKind::placeholder:
        return Symbol::folder;
    case RowKind::hidden:
        return Symbol::hidden;
    case RowKind::unfinished:
        return Symbol::unfinished;
    case RowKind::file:
        break;
    }
    return fileSymbol(toQString(row.name));
}

QString title(BrowserColumn column)
{
    switch (column) {
    case BrowserColumn::name:
        return BrowserTableModel::tr("Name");
    case BrowserColumn::size:
        return BrowserTableModel::tr("Size");
    case BrowserColumn::modified:
        return BrowserTableModel::tr("Modified");
    case BrowserColumn::state:
        return BrowserTableModel::tr("State");
    case BrowserColumn::replication:
        return BrowserTableModel::tr("Replication");
    case BrowserColumn::checksum:
        return BrowserTableModel::tr("Checksum");
    }
    return {};
}

} // namespace

void BrowserTableModel::show(const ShownRows& next)
{
    if (shown_ == next)
        return;
    const auto targets = matchRows(shown_, next);
    const auto old = std::exchange(shown_, next); // Lives until its last row has been removed.
    Rows wanted(next.size());
    for (std::size_t i = 0; i < next.size(); ++i)
        wanted[i] = &next[i];
    for (std::size_t i = 0; i < targets.size(); ++i) {
        if (targets[i] >= 0)
            rows_[i] = wanted[static_cast<std::size_t>(targets[i])];
    }

    removeGone(targets);
    std::vector<int> kept;
    std::ranges::copy_if(targets, std::back_inserter(kept), [](int target) { return target >= 0; });
    if (std::ranges::is_sorted(kept))
        insertInPlace(wanted, kept);
    else
        reorder(wanted, kept);
    // The same version may have become another record, one with a hold for example.
    if (!kept.empty() && !next.entries.extends(old.entries))
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

void BrowserTableModel::removeGone(const std::vector<int>& targets)
{
    const auto isGone = [&](std::size_t row) { return targets[row] < 0; };
    std::vector<std::pair<std::size_t, std::size_t>> ranges; ///< First row, and one after the last.
    for (std::size_t row = 0; row < targets.size(); ++row) {
        if (!isGone(row))
            continue;
        if (ranges.empty() || ranges.back().second != row)
            ranges.emplace_back(row, row);
        ++ranges.back().second;
    }
    if (ranges.size() > mostRanges) {
        std::vector<int> sources;
        for (const bool takesGone : {false, true}) {
            for (std::size_t row = 0; row < targets.size(); ++row) {
                if (isGone(row) == takesGone)
                    sources.push_back(static_cast<int>(row));
            }
        }
        permute(sources);
        const auto gone =
            static_cast<std::size_t>(std::ranges::count_if(targets, [](int target) { return target < 0; }));
        ranges = {{targets.size() - gone, targets.size()}};
    }
    for (; !ranges.empty(); ranges.pop_back()) {
        const auto [first, end] = ranges.back();
        beginRemoveRows({}, static_cast<int>(first), static_cast<int>(end) - 1);
        rows_.erase(
            rows_.begin() + static_cast<std::ptrdiff_t>(first), rows_.begin() + static_cast<std::ptrdiff_t>(end));
        endRemoveRows();
    }
}

// The rows that are there stand in the wanted order already.
void BrowserTableModel::insertInPlace(const Rows& wanted, const std::vector<int>& places)
{
    int ranges = 0;
    bool isAdding = false;
    std::size_t known = 0;
    for (const auto* row : wanted) {
        const bool isKnown = known < rows_.size() && rows_[known] == row;
        ranges += !isKnown && !isAdding ? 1 : 0;
        known += isKnown ? 1 : 0;
        isAdding = !isKnown;
    }
    if (ranges > mostRanges) {
        reorder(wanted, places);
        return;
    }
    for (std::size_t first = 0; first < wanted.size(); ++first) {
        if (first < rows_.size() && rows_[first] == wanted[first])
            continue;
        const auto* const next = first < rows_.size() ? rows_[first] : nullptr;
        const auto begin = wanted.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = next ? std::find(begin, wanted.end(), next) : wanted.end();
        beginInsertRows({}, static_cast<int>(first), static_cast<int>(end - wanted.begin()) - 1);
        rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(first), begin, end);
        endInsertRows();
        first = static_cast<std::size_t>(end - wanted.begin());
    }
}

// What is new comes at the end, then all of it moves.
void BrowserTableModel::reorder(const Rows& wanted, const std::vector<int>& places)
{
    std::vector<int> sources(wanted.size(), -1);
    for (std::size_t row = 0; row < places.size(); ++row)
        sources[static_cast<std::size_t>(places[row])] = static_cast<int>(row);
    Rows added;
    for (std::size_t place = 0; place < wanted.size(); ++place) {
        if (sources[place] >= 0)
            continue;
        sources[place] = static_cast<int>(rows_.size() + added.size());
        added.push_back(wanted[place]);
    }
    if (!added.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
        rows_.insert(rows_.end(), added.begin(), added.end());
        endInsertRows();
    }
    permute(sources);
}

/// @param sources  for each place, where its row stands now.
void BrowserTableModel::permute(const std::vector<int>& sources)
{
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    Rows moved(sources.size());
    std::vector<int> places(sources.size());
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const auto source = static_cast<std::size_t>(sources[i]);
        moved[i] = rows_[source];
        places[source] = static_cast<int>(i);
    }
    rows_ = std::move(moved);
    const auto before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const auto& old : before)
        after.append(index(places[static_cast<std::size_t>(old.row())], old.column()));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

void BrowserTableModel::setInFlight(const std::set<std::string>& ids)
{
    if (inFlight_ == ids)
        return;
    inFlight_ = ids;
    if (!rows_.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

int BrowserTableModel::rowOf(const std::string& id) const
{
    const auto found =
        std::ranges::find(rows_, id, [](const BrowserRow* row) -> const std::string& { return row->id; });
    return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

int BrowserTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int BrowserTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : browserColumnCount;
}

QVariant BrowserTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& shown = row(index.row());
    const auto column = columnAt(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return cellText(shown, column);
    case Qt::AccessibleTextRole:
        return column == BrowserColumn::name
            ? cellText(shown, column) + QStringLiteral(", ") + toQString(stateText(shown))
            : cellText(shown, column);
    case Qt::ToolTipRole:
        if (const auto help = cellHelp(shown, column); !help.empty())
            return Qt::convertFromPlainText(toQString(help));
        return {};
    case Qt::TextAlignmentRole:
        return column == BrowserColumn::size ? QVariant(static_cast<int>(Qt::AlignRight | Qt::AlignVCenter))
                                             : QVariant();
    case Qt::FontRole:
        return column == BrowserColumn::checksum && shown.file.contentSHA1 ? QVariant(fixedFont()) : QVariant();
    case TableRole::symbol:
        return column == BrowserColumn::name ? QVariant(static_cast<int>(symbolOf(shown))) : QVariant();
    case TableRole::isDimmed:
        return shown.kind != RowKind::folder && shown.kind != RowKind::file;
    default:
        return {};
    }
}

QVariant BrowserTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= browserColumnCount)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return title(columnAt(section));
    case Qt::TextAlignmentRole:
        return columnAt(section) == BrowserColumn::size ? QVariant(static_cast<int>(Qt::AlignRight | Qt::AlignVCenter))
                                                        : QVariant();
    case TableRole::columnID:
        return toQString(browserColumnKeys()[static_cast<std::size_t>(section)]);
    default:
        return {};
    }
}

Qt::ItemFlags BrowserTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || inFlight_.contains(row(index.row()).id))
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}
