#pragma once

#include "accounts/switcher/KeySwitcher.h"

#include <QAbstractListModel>

#include <vector>

/// The other keys as rows, those of each account under a heading that cannot be chosen.
class KeySwitcherRowsModel final : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { headingRole = Qt::UserRole + 1, subtitleRole, flagRole, missingRole };

    using QAbstractListModel::QAbstractListModel;

    void show(const std::vector<KeySwitcherGroup>& groups);

    /// Shows only rows whose name, subtitle, account or key id has every word of the text; an empty one shows all.
    void setFilter(const QString& text);

    /// The key of a row; null for a heading and for an invalid index.
    const KeySwitcherRow* keyAt(const QModelIndex& index) const;
    QModelIndex indexOf(const std::string& keyID) const;
    /// The nearest key at or beyond `row`, going down (1) or up (-1); invalid when there is none.
    QModelIndex nextKey(int row, int step) const;

    /// The key that a search most likely means: one whose name begins with the text, else one whose name holds it, else
    /// the first.
    QModelIndex bestMatch() const;

    /// Without the filter.
    std::size_t keyCount() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    struct Entry {
        QString heading; ///< Empty for a key.
        KeySwitcherRow row;

        bool isSamePlace(const Entry& other) const
        {
            return heading == other.heading && row.key.keyID == other.row.key.keyID;
        }
    };

    void rebuild();

    std::vector<KeySwitcherGroup> groups_;
    QString filter_;
    std::vector<Entry> entries_;
};
