#include "browser/views/BrowserTableModel.h"

#include "browser/RowTexts.h"
#include "foundation/QtText.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/TableColumns.h"

#include <QTextDocument>

#include <utility>

namespace {

BrowserColumn columnAt(int column)
{
    return static_cast<BrowserColumn>(column);
}

/// Finds the place of each row of `old` in a longer or resorted listing of the same pages, without comparing keys.
std::vector<int> placesByPosition(const ShownRows& old, const ShownRows& next)
{
    std::vector<int> places(next.entries.size(), -1);
    for (std::size_t i = 0; i < next.size(); ++i)
        places[(*next.rows)[i]] = static_cast<int>(i);
    std::vector<int> targets(old.size());
    for (std::size_t i = 0; i < old.size(); ++i)
        targets[i] = places[(*old.rows)[i]];
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
        break; // The delegate shows the whole name if it is shortened.
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
    std::vector<const BrowserRow*> wanted(next.size());
    for (std::size_t i = 0; i < next.size(); ++i)
        wanted[i] = &next[i];
    const auto old = std::exchange(shown_, next); // Outlives its last row in the table.
    if (next.entries.extends(old.entries))
        showRows(std::move(wanted), placesByPosition(old, next));
    else
        showRows(std::move(wanted));
}

void BrowserTableModel::setInFlight(const std::set<std::string>& ids)
{
    if (inFlight_ == ids)
        return;
    inFlight_ = ids;
    announceRows(0, rowCount() - 1);
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
