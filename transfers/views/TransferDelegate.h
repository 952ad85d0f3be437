#pragma once

#include "transfers/Transfer.h"

#include <QStyledItemDelegate>

#include <functional>
#include <optional>

/// What a row's button does.
enum class TransferAction { cancel, retry, show };

/// Paints a transfer: icon, name, what it is doing, a slim bar while it moves, amount, rate and time left, and the
/// row's one button while the pointer, the selection or the keyboard is on it. No widget per row.
class TransferDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    using TransferOf = std::function<std::shared_ptr<Transfer>(const QModelIndex&)>;
    using ActionOf = std::function<std::optional<TransferAction>(const Transfer&)>;

    TransferDelegate(TransferOf transferOf, ActionOf actionOf, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Where the row's button stands.
    static QRect actionRect(const QRect& row, Qt::LayoutDirection direction);

    /// Help for the row's button.
    static QString actionHelp(TransferAction action, const Transfer& transfer);

private:
    struct Look;

    void paintName(QPainter& painter, const Look& look, const Transfer& transfer) const;
    void paintStatus(QPainter& painter, const Look& look, const Transfer& transfer) const;
    void paintAction(QPainter& painter, const Look& look, TransferAction action) const;

    TransferOf transferOf_;
    ActionOf actionOf_;
};
