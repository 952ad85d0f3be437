#pragma once

#include "transfers/TransferQueue.h"

#include <QAbstractListModel>
#include <QHash>

#include <memory>
#include <vector>

/// The queue's rows as a list. A row that moves on repaints alone; rows come and go without a reset, so that selection
/// and scroll stay.
class TransferListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    explicit TransferListModel(TransferQueue& queue, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    /// The name, its help as tooltip and the whole row in words for a screen reader.
    QVariant data(const QModelIndex& index, int role) const override;

    std::shared_ptr<Transfer> transferAt(const QModelIndex& index) const;

private:
    void follow();
    void removeAllBut(const std::vector<std::shared_ptr<Transfer>>& wanted);
    void watch(const std::shared_ptr<Transfer>& transfer);

    TransferQueue& queue_;
    std::vector<std::shared_ptr<Transfer>> rows_;
    QHash<const Transfer*, int> rowOf_;
};
