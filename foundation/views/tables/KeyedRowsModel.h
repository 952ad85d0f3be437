#pragma once

#include "foundation/views/tables/RowPlan.h"

#include <QAbstractTableModel>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

/// A table model whose rows have keys. See `KeyedRows`.
class KeyedRowsModel : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    /// The row of a key, or -1. Looks at every row.
    virtual int rowOf(std::string_view key) const = 0;

    /// 1, for a list.
    int columnCount(const QModelIndex& parent = {}) const override;
    QModelIndex index(int row, int column = 0, const QModelIndex& parent = {}) const override;

protected:
    /// Performs a plan on the rows and announces each step.
    void perform(const RowPlan& plan);
    /// Announces that the rows from `first` to `last` have other contents.
    void announceRows(int first, int last);

private:
    virtual void eraseRows(RowRange range) = 0;
    /// Inserts the new rows of the running plan, from `firstAdded` on.
    virtual void insertNewRows(RowRange range, const RowPlan& plan, std::size_t firstAdded) = 0;
    virtual void orderRows(const std::vector<int>& order) = 0;

    void permute(const std::vector<int>& order);
};

/// Rows that keep their identity by key: rows are removed, inserted and moved from one set to the next, and the model
/// is never reset, so that selection, current row and scroll survive. 100,000 rows take some milliseconds.
///
/// A derived model gives the key of a row and the data of a cell, and shows rows by `showRows`.
template <class Row>
class KeyedRows : public KeyedRowsModel {
public:
    using KeyedRowsModel::KeyedRowsModel;

    const Row& row(int number) const { return rows_[static_cast<std::size_t>(number)]; }
    const std::vector<Row>& rows() const { return rows_; }

    int rowOf(std::string_view key) const override
    {
        for (std::size_t number = 0; number < rows_.size(); ++number) {
            if (keyOf(rows_[number]) == key)
                return static_cast<int>(number);
        }
        return -1;
    }

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(rows_.size());
    }

protected:
    /// The key of a row, valid as long as the row.
    virtual std::string_view keyOf(const Row& row) const = 0;

    void showRows(std::vector<Row> wanted)
    {
        const auto targets = matchRows(keysOf(rows_), keysOf(wanted));
        showRows(std::move(wanted), targets);
    }

    /// The same where the place of every old row is known: see `matchRows`.
    void showRows(std::vector<Row> wanted, const std::vector<int>& targets)
    {
        const auto plan = planRows(targets, static_cast<int>(wanted.size()));
        int firstChanged = static_cast<int>(wanted.size());
        int lastChanged = -1;
        for (std::size_t number = 0; number < targets.size(); ++number) {
            const int target = targets[number];
            if (target < 0)
                continue;
            auto& next = wanted[static_cast<std::size_t>(target)];
            if (!isSame(rows_[number], next)) {
                firstChanged = std::min(firstChanged, target);
                lastChanged = std::max(lastChanged, target);
            }
            rows_[number] = std::move(next);
        }
        wanted_ = &wanted;
        perform(plan);
        wanted_ = nullptr;
        if (lastChanged >= 0)
            announceRows(firstChanged, lastChanged);
    }

private:
    static bool isSame(const Row& first, const Row& second)
    {
        if constexpr (std::equality_comparable<Row>)
            return first == second;
        else
            return false;
    }

    std::vector<std::string_view> keysOf(const std::vector<Row>& rows) const
    {
        std::vector<std::string_view> keys;
        keys.reserve(rows.size());
        for (const auto& row : rows)
            keys.push_back(keyOf(row));
        return keys;
    }

    auto iteratorAt(int number) { return rows_.begin() + number; }

    void eraseRows(RowRange range) final
    {
        rows_.erase(iteratorAt(range.first), iteratorAt(range.first + range.count));
    }

    void insertNewRows(RowRange range, const RowPlan& plan, std::size_t firstAdded) final
    {
        std::vector<Row> added;
        added.reserve(static_cast<std::size_t>(range.count));
        for (std::size_t i = 0; i < static_cast<std::size_t>(range.count); ++i)
            added.push_back(std::move((*wanted_)[static_cast<std::size_t>(plan.added[firstAdded + i])]));
        rows_.insert(
            iteratorAt(range.first), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
    }

    void orderRows(const std::vector<int>& order) final
    {
        std::vector<Row> moved;
        moved.reserve(order.size());
        for (const int source : order)
            moved.push_back(std::move(rows_[static_cast<std::size_t>(source)]));
        rows_ = std::move(moved);
    }

    std::vector<Row> rows_;
    std::vector<Row>* wanted_ = nullptr; ///< While rows are shown.
};
