#pragma once

#include "foundation/log/ActivityLog.h"
#include "shell/log/LogFilter.h"

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>

/// The activity log as table rows, oldest first.
class LogTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { timeColumn, levelColumn, areaColumn, messageColumn, columnCount_ };
    enum Role { detailRole = Qt::UserRole + 1, sortRole };

    explicit LogTableModel(ActivityLog& log, QObject* parent = nullptr);

    const LogEntry& entry(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    ActivityLog& log_;
    int rowCount_ = 0;
    int leavingRows_ = 0; ///< Rows that are being removed from the table and are no longer in the log.
};

/// The rows that the filter shows, in the order of the table's sort.
class LogFilterModel final : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit LogFilterModel(LogTableModel& rows, QObject* parent = nullptr);

    const LogFilter& filter() const { return filter_; }
    void setFilter(LogFilter filter);

    const LogEntry& entry(const QModelIndex& index) const;

    /// The text form of the rows, oldest first.
    QString textOf(const QModelIndexList& indexes) const;
    QString textOfAll() const;

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    QString textOfSourceRows(std::vector<int> rows) const;

    LogTableModel& rows_;
    LogFilter filter_;
};
