#pragma once

#include "foundation/TableSort.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <cstddef>
#include <string>
#include <vector>

class ActivityLog;
class DenseTableView;
class QHeaderView;
class QAbstractItemView;
class QTreeView;
class Settings;

/// How a table starts, and the name under which its state is kept.
struct TableDescription {
    std::string name;     ///< In the settings and in the log: "browser".
    QString firstColumns; ///< The columns before the user changes them; see `columnState`.
    std::vector<SortOrder> defaultOrder;
    std::size_t maxSortColumns = 3;
    bool keepsSort = true; ///< False when somebody else stores the sort.
};

/// Keeps the columns and the sort of a table in the settings, and logs each column that is fitted to its content.
///
/// The columns of the table's model have names (`TableRole::columnID`), which are also the keys of its sort. Belongs to
/// the table, whose model must be set before.
class TableState final : public QObject {
    Q_OBJECT

public:
    TableState(DenseTableView& table, TableDescription description, Settings& settings, ActivityLog& log);
    /// The last column of the tree takes the width that is left.
    TableState(QTreeView& table, TableDescription description, Settings& settings, ActivityLog& log);

    /// The present sort; never empty. A click on a column puts it first and keeps those chosen before it.
    const std::vector<SortOrder>& order() const { return order_; }
    /// Shows a sort that another place decided; neither stores nor announces it.
    void showOrder(std::vector<SortOrder> order);

    /// The column of the first sort key, and its direction.
    int sortedColumn() const;
    Qt::SortOrder sortDirection() const;

Q_SIGNALS:
    /// The user chose another sort: `order()`.
    void orderChosen();

private:
    TableState(QAbstractItemView& table, QHeaderView& header, TableDescription description, Settings& settings,
        ActivityLog& log);

    std::vector<std::string> columnIDs() const;
    QString storedColumns() const;
    void saveColumns() const;
    void chooseSort(int section, Qt::SortOrder direction);
    void logFit(int section);

    QAbstractItemView& table_;
    QHeaderView& header_;
    TableDescription description_;
    Settings& settings_;
    ActivityLog& log_;
    std::vector<SortOrder> order_;
    QTimer saving_; ///< A column that is being hidden counts as hidden only in the next turn of the loop.
};
