#pragma once

#include "transfers/views/TransferDelegate.h"
#include "transfers/views/TransferListModel.h"

#include <QListView>

class QTimer;

/// The list of transfers with its mouse and keys: a click on a row's button, Del to cancel, Enter to show a finished
/// download, and a context menu with the same commands.
class TransferListView final : public QListView {
    Q_OBJECT

public:
    explicit TransferListView(TransferQueue& queue, QWidget* parent = nullptr);

    /// The button of a row, as its state offers it.
    std::optional<TransferAction> actionOf(const Transfer& transfer) const;

    /// The selected rows, in their order.
    std::vector<std::shared_ptr<Transfer>> selectedTransfers() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    using Rows = std::vector<std::shared_ptr<Transfer>>;

    QModelIndex buttonAt(const QPoint& position) const;
    void trigger(TransferAction action, const Rows& rows);
    Rows offering(TransferAction action, const Rows& rows) const;

    TransferQueue& queue_;
    TransferListModel rows_;
    QPersistentModelIndex pressed_;
    bool followsEnd_ = true;
    QTimer* ticking_; ///< Rates and times left go on between reports.
};
