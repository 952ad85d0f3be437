#pragma once

#include "accounts/keys/KeyRows.h"
#include "foundation/views/tables/KeyedRowsModel.h"

#include <set>
#include <string>
#include <vector>

/// The account's keys as rows, by applicationKeyID. The session's own key cannot be selected, nor one that is being
/// deleted.
class KeysTableModel final : public KeyedRows<KeyRow> {
    Q_OBJECT

public:
    using KeyedRows::KeyedRows;

    void show(std::vector<KeyRow> rows, const std::set<std::string>& inFlight);

    bool isSelectable(int number) const;

    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    std::string_view keyOf(const KeyRow& row) const override;
    QString cellText(const KeyRow& row, KeyColumn column) const;

    std::set<std::string> inFlight_;
};
