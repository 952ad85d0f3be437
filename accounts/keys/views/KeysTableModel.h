#pragma once

#include "accounts/keys/KeyRows.h"

#include <QAbstractTableModel>

#include <set>
#include <string>
#include <vector>

/// The account's keys as rows. Rows keep their identity over a reload and a new order, so that selection and scroll
/// stay. The session's own key cannot be selected, nor one that is being deleted.
class KeysTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    void show(std::vector<KeyRow> rows, const std::set<std::string>& inFlight);

    const KeyRow& row(int number) const { return rows_[static_cast<std::size_t>(number)]; }
    bool isSelectable(int number) const;
    /// The row of a key, or -1.
    int rowOf(const std::string& keyID) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    QString cellText(const KeyRow& row, KeyColumn column) const;
    void removeGone(const std::vector<KeyRow>& wanted);
    void appendNew(const std::vector<KeyRow>& wanted);
    void arrange(std::vector<KeyRow> wanted);

    std::vector<KeyRow> rows_;
    std::set<std::string> inFlight_;
};
