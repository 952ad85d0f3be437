#pragma once

#include "transfers/views/TransferButtons.h"

#include <QStyledItemDelegate>

#include <functional>
#include <vector>

/// Paints a transfer: icon, name, what it is doing, a slim bar while it moves, amount, rate and time left, and the
/// row's buttons: those with a symbol while the pointer, the selection or the keyboard is on the row. No widget per
/// row.
class TransferDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    using TransferOf = std::function<std::shared_ptr<Transfer>(const QModelIndex&)>;
    using ActionsOf = std::function<std::vector<TransferAction>(const Transfer&)>;

    TransferDelegate(TransferOf transferOf, ActionsOf actionsOf, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    struct Look;

    void paintName(QPainter& painter, const Look& look, const Transfer& transfer) const;
    void paintStatus(QPainter& painter, const Look& look, const Transfer& transfer) const;
    void paintBar(QPainter& painter, const Look& look, const Transfer& transfer) const;
    void paintButtons(QPainter& painter, const Look& look, const Transfer& transfer, bool hasAttention) const;

    TransferOf transferOf_;
    ActionsOf actionsOf_;
};
