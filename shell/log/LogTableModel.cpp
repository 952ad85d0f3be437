#include "shell/log/LogTableModel.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/tables/TableColumns.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

QIcon levelIcon(B2LogLevel level)
{
    switch (level) {
    case B2LogLevel::debug:
        return symbolIcon(Symbol::bug, SymbolTint::secondary);
    case B2LogLevel::info:
        return symbolIcon(Symbol::info, SymbolTint::secondary);
    case B2LogLevel::notice:
        return symbolIcon(Symbol::checkCircle, SymbolTint::notice);
    case B2LogLevel::warning:
        return symbolIcon(Symbol::warning, SymbolTint::warning);
    case B2LogLevel::error:
        break;
    }
    return symbolIcon(Symbol::error, SymbolTint::danger);
}

} // namespace

LogTableModel::LogTableModel(ActivityLog& log, QObject* parent)
    : QAbstractTableModel(parent)
    , log_(log)
    , rowCount_(static_cast<int>(log.entries().size()))
{
    connect(&log, &ActivityLog::appended, this, [this](int count) {
        beginInsertRows({}, rowCount_, rowCount_ + count - 1);
        rowCount_ += count;
        endInsertRows();
    });
    connect(&log, &ActivityLog::removedOldest, this, [this](int count) {
        leavingRows_ = count;
        beginRemoveRows({}, 0, count - 1);
        rowCount_ -= count;
        leavingRows_ = 0;
        endRemoveRows();
    });
    connect(&log, &ActivityLog::reset, this, [this] {
        beginResetModel();
        rowCount_ = static_cast<int>(log_.entries().size());
        endResetModel();
    });
}

const LogEntry& LogTableModel::entry(int row) const
{
    const int index = std::clamp(row - leavingRows_, 0, static_cast<int>(log_.entries().size()) - 1);
    return log_.entries()[static_cast<std::size_t>(index)];
}

int LogTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : rowCount_;
}

int LogTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : columnCount_;
}

QVariant LogTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || log_.entries().empty())
        return {};
    const LogEntry& shown = entry(index.row());
    if (role == Qt::AccessibleTextRole || (role == Qt::ToolTipRole && index.column() == messageColumn))
        return toQString(shown.formatted());
    switch (index.column()) {
    case timeColumn:
        if (role == Qt::DisplayRole)
            return toQString(shown.formattedDate());
        break;
    case levelColumn:
        if (role == Qt::DecorationRole)
            return levelIcon(shown.level);
        if (role == Qt::ToolTipRole)
            return toQString(displayName(shown.level));
        break;
    case areaColumn:
        if (role == Qt::DisplayRole)
            return toQString(shown.category);
        break;
    case messageColumn:
        if (role == Qt::DisplayRole)
            return toQString(singleLine(shown.message));
        if (role == detailRole && shown.detail && !shown.detail->empty())
            return toQString(singleLine(*shown.detail));
        break;
    default:
        break;
    }
    return {};
}

QVariant LogTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::DisplayRole) {
        switch (section) {
        case timeColumn:
            return tr("Time");
        case areaColumn:
            return tr("Area");
        case messageColumn:
            return tr("Message");
        default:
            return QString();
        }
    }
    if (role == Qt::AccessibleTextRole && section == levelColumn)
        return tr("Level");
    if (role == TableRole::columnID && section >= 0 && section < columnCount_) {
        static const std::array<const char*, columnCount_> names{"time", "level", "area", "message"};
        return QString::fromUtf8(names.at(static_cast<std::size_t>(section)));
    }
    return {};
}

LogFilterModel::LogFilterModel(LogTableModel& rows, QObject* parent)
    : QSortFilterProxyModel(parent)
    , rows_(rows)
{
    setSourceModel(&rows);
}

void LogFilterModel::setFilter(LogFilter filter)
{
    filter_ = std::move(filter);
    invalidateFilter();
}

const LogEntry& LogFilterModel::entry(const QModelIndex& index) const
{
    return rows_.entry(mapToSource(index).row());
}

QString LogFilterModel::textOf(const QModelIndexList& indexes) const
{
    std::vector<int> rows;
    for (const auto& index : indexes)
        rows.push_back(mapToSource(index).row());
    return textOfSourceRows(std::move(rows));
}

QString LogFilterModel::textOfAll() const
{
    std::vector<int> rows;
    for (int row = 0; row < rowCount(); ++row)
        rows.push_back(mapToSource(index(row, 0)).row());
    return textOfSourceRows(std::move(rows));
}

QString LogFilterModel::textOfSourceRows(std::vector<int> rows) const
{
    std::ranges::sort(rows);
    rows.erase(std::ranges::unique(rows).begin(), rows.end());
    QStringList lines;
    for (const int row : rows)
        lines.append(toQString(rows_.entry(row).formatted()));
    return lines.join(u'\n');
}

bool LogFilterModel::filterAcceptsRow(int row, const QModelIndex&) const
{
    return filter_.shows(rows_.entry(row));
}

bool LogFilterModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const LogEntry& a = rows_.entry(left.row());
    const LogEntry& b = rows_.entry(right.row());
    switch (left.column()) {
    case LogTableModel::levelColumn:
        if (a.level != b.level)
            return a.level < b.level;
        break;
    case LogTableModel::areaColumn:
        if (const int order = a.category.compare(b.category))
            return order < 0;
        break;
    case LogTableModel::messageColumn:
        if (const int order = a.message.compare(b.message))
            return order < 0;
        break;
    default:
        return std::pair(a.date, left.row()) < std::pair(b.date, right.row());
    }
    // Equal entries are newest first in either direction.
    return sortOrder() == Qt::AscendingOrder ? left.row() > right.row() : left.row() < right.row();
}
