#pragma once

#include "browser/BrowserRows.h"
#include "foundation/views/tables/KeyedRowsModel.h"

#include <set>
#include <string>
#include <vector>

/// The rows of a `BrowserRows` for a table, by the id of the file version.
class BrowserTableModel final : public KeyedRows<const BrowserRow*> {
    Q_OBJECT

public:
    using KeyedRows::KeyedRows;

    void show(const ShownRows& next);
    /// Rows with a write under way cannot be selected.
    void setInFlight(const std::set<std::string>& ids);

    const BrowserRow& row(int number) const { return *KeyedRows::row(number); }

    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    std::string_view keyOf(const BrowserRow* const& row) const override { return row->id; }

    ShownRows shown_; ///< Owns the rows.
    std::set<std::string> inFlight_;
};
