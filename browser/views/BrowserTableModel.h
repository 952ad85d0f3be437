#pragma once

#include "browser/BrowserModel.h"

#include <QAbstractTableModel>

#include <set>
#include <string>
#include <vector>

/// The rows of a `BrowserModel` for a table.
///
/// Rows keep their identity from one set to the next: what is there twice moves, the rest is inserted and removed, and
/// the model is never reset, so that selection, current row and scroll survive. 100,000 rows take some milliseconds.
class BrowserTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    void show(const ShownRows& next);
    /// Rows with a write under way cannot be chosen.
    void setInFlight(const std::set<std::string>& ids);

    const BrowserRow& row(int index) const { return *rows_[static_cast<std::size_t>(index)]; }
    /// The row with the id, or -1. Looks at every row.
    int rowOf(const std::string& id) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    using Rows = std::vector<const BrowserRow*>;

    void removeGone(const std::vector<int>& targets);
    /// @param places  where each of `rows_` stands in `wanted`, for both.
    void insertInPlace(const Rows& wanted, const std::vector<int>& places);
    void reorder(const Rows& wanted, const std::vector<int>& places);
    void permute(const std::vector<int>& sources);

    ShownRows shown_; ///< Owns what `rows_` point to.
    Rows rows_;
    std::set<std::string> inFlight_;
};
