#include "foundation/views/tables/TableState.h"

#include "foundation/QtText.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/TableColumns.h"

#include <QHeaderView>
#include <QSignalBlocker>
#include <QTreeView>

#include <algorithm>
#include <utility>

TableState::TableState(
    QAbstractItemView& table, QHeaderView& header, TableDescription description, Settings& settings, ActivityLog& log)
    : QObject(&table)
    , table_(table)
    , header_(header)
    , description_(std::move(description))
    , settings_(settings)
    , log_(log)
{
    std::string stored;
    if (description_.keepsSort)
        stored = settings_.text(SettingsKeys::tableSort(description_.name)).value_or("");
    showOrder(decodeSort(stored, columnIDs(), description_.defaultOrder));
    saving_.setSingleShot(true);
    connect(&saving_, &QTimer::timeout, this, &TableState::saveColumns);
    // Only the rows in sight are measured: 100,000 would block the window.
    header_.setResizeContentsPrecision(0);
    connect(&header_, &QHeaderView::sortIndicatorChanged, this, &TableState::chooseSort);
    connect(&header_, &QHeaderView::sectionHandleDoubleClicked, this, &TableState::logFit);
}

TableState::TableState(DenseTableView& table, TableDescription description, Settings& settings, ActivityLog& log)
    : TableState(table, *table.horizontalHeader(), std::move(description), settings, log)
{
    table.restoreState(description_.firstColumns);
    table.restoreState(storedColumns());
    connect(&table, &DenseTableView::stateChanged, &saving_, qOverload<>(&QTimer::start));
}

TableState::TableState(QTreeView& table, TableDescription description, Settings& settings, ActivityLog& log)
    : TableState(table, *table.header(), std::move(description), settings, log)
{
    restoreColumnState(header_, description_.firstColumns);
    restoreColumnState(header_, storedColumns());
    connect(&header_, &QHeaderView::sectionMoved, &saving_, qOverload<>(&QTimer::start));
    connect(&header_, &QHeaderView::sectionResized, this, [this](int section) {
        if (header_.visualIndex(section) != header_.count() - 1)
            saving_.start();
    });
}

void TableState::showOrder(std::vector<SortOrder> order)
{
    if (order.empty() && !order_.empty())
        return;
    order_ = std::move(order);
    if (order_.empty())
        order_ = {{columnIDs().front()}};
    const int section = sortedColumn();
    if (header_.sortIndicatorSection() == section && header_.sortIndicatorOrder() == sortDirection())
        return;
    const QSignalBlocker blocker(header_);
    header_.setSortIndicator(section, sortDirection());
    header_.viewport()->update();
}

int TableState::sortedColumn() const
{
    const auto ids = columnIDs();
    return static_cast<int>(std::ranges::find(ids, order_.front().key) - ids.begin());
}

Qt::SortOrder TableState::sortDirection() const
{
    return order_.front().ascending ? Qt::AscendingOrder : Qt::DescendingOrder;
}

std::vector<std::string> TableState::columnIDs() const
{
    std::vector<std::string> ids;
    for (int section = 0; section < header_.count(); ++section) {
        const auto id = header_.model()->headerData(section, Qt::Horizontal, TableRole::columnID);
        ids.push_back(fromQString(id.toString()));
    }
    return ids;
}

QString TableState::storedColumns() const
{
    return toQString(settings_.text(SettingsKeys::tableColumns(description_.name)).value_or(""));
}

void TableState::saveColumns() const
{
    settings_.set(SettingsKeys::tableColumns(description_.name), fromQString(columnState(header_)));
}

void TableState::chooseSort(int section, Qt::SortOrder direction)
{
    const auto ids = columnIDs();
    if (section < 0 || section >= static_cast<int>(ids.size()))
        return;
    const auto& id = ids[static_cast<std::size_t>(section)];
    std::erase_if(order_, [&](const SortOrder& part) { return part.key == id; });
    order_.insert(order_.begin(), SortOrder{id, direction == Qt::AscendingOrder});
    order_.resize(std::min(order_.size(), description_.maxSortColumns));
    if (description_.keepsSort)
        settings_.set(SettingsKeys::tableSort(description_.name), encodeSort(order_));
    Q_EMIT orderChosen();
}

void TableState::logFit(int section)
{
    const int total = header_.model()->rowCount();
    const int first = std::max(table_.indexAt({0, 0}).row(), 0);
    const auto last = table_.indexAt({0, table_.viewport()->height() - 1});
    const int end = last.isValid() ? last.row() + 1 : total;
    const auto line = QStringLiteral("Fitted the %1 column to %2 points from %3 of %4 rows in %5")
                          .arg(columnTitle(header_, section))
                          .arg(header_.sectionSize(section))
                          .arg(end - first)
                          .arg(total)
                          .arg(toQString(description_.name));
    log_.record({B2LogLevel::debug, "table", fromQString(line), {}});
}
