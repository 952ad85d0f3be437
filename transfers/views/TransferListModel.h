#pragma once

#include "transfers/TransferQueue.h"

#include <QAbstractListModel>
#include <QHash>
#include <QSet>

#include <memory>
#include <vector>

class QTimer;

/// The queue's rows as a list. A changed row repaints alone; rows come and go without a reset, so that selection
/// and scroll stay. Changes of many rows are announced together, about twenty times a second.
class TransferListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    explicit TransferListModel(TransferQueue& queue, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    /// The name, its help as tooltip, and for a screen reader the whole row in words with its help as description.
    QVariant data(const QModelIndex& index, int role) const override;

    std::shared_ptr<Transfer> transferAt(const QModelIndex& index) const;

    /// Returns the next failed row after one, starting over after the last; -1 when none has failed.
    int nextFailed(int row) const;

private:
    void follow();
    void removeAllBut(const std::vector<std::shared_ptr<Transfer>>& wanted);
    void watch(const std::shared_ptr<Transfer>& transfer);
    void noteChange(const Transfer* transfer);
    void announceChanges();

    TransferQueue& queue_;
    std::vector<std::shared_ptr<Transfer>> rows_;
    QHash<const Transfer*, int> rowOf_;
    QSet<const Transfer*> changed_; ///< Not announced yet.
    QTimer* gathering_;
};
