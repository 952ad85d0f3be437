#include "foundation/views/tables/KeyedRowsModel.h"

int KeyedRowsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1;
}

QModelIndex KeyedRowsModel::index(int row, int column, const QModelIndex& parent) const
{
    return QAbstractTableModel::index(row, column, parent);
}

void KeyedRowsModel::perform(const RowPlan& plan)
{
    permute(plan.orderBefore);
    for (const auto& range : plan.removed) {
        beginRemoveRows({}, range.first, range.first + range.count - 1);
        eraseRows(range);
        endRemoveRows();
    }
    std::size_t added = 0;
    for (const auto& range : plan.inserted) {
        beginInsertRows({}, range.first, range.first + range.count - 1);
        insertNewRows(range, plan, added);
        endInsertRows();
        added += static_cast<std::size_t>(range.count);
    }
    permute(plan.orderAfter);
}

void KeyedRowsModel::permute(const std::vector<int>& order)
{
    if (order.empty())
        return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    orderRows(order);
    std::vector<int> places(order.size());
    for (std::size_t place = 0; place < order.size(); ++place)
        places[static_cast<std::size_t>(order[place])] = static_cast<int>(place);
    const auto before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const auto& old : before)
        after.append(index(places[static_cast<std::size_t>(old.row())], old.column()));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

void KeyedRowsModel::announceRows(int first, int last)
{
    if (first <= last)
        Q_EMIT dataChanged(index(first, 0), index(last, columnCount() - 1));
}
