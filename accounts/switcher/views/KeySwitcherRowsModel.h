#pragma once

#include "accounts/switcher/KeySwitcher.h"
#include "foundation/views/tables/KeyedRowsModel.h"

#include <vector>

/// A row of the switcher: the heading of an account, or one of its keys.
struct KeySwitcherEntry {
    std::string id;
    QString heading; ///< Empty for a key.
    KeySwitcherRow row;

    bool operator==(const KeySwitcherEntry&) const = default;
};

/// The other keys as rows, those of each account under a heading that cannot be chosen.
class KeySwitcherRowsModel final : public KeyedRows<KeySwitcherEntry> {
    Q_OBJECT

public:
    enum Role { headingRole = Qt::UserRole + 1, subtitleRole, flagRole, missingRole };

    using KeyedRows::KeyedRows;

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

    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    std::string_view keyOf(const KeySwitcherEntry& entry) const override { return entry.id; }
    void rebuild();

    std::vector<KeySwitcherGroup> groups_;
    QString filter_;
};
