#pragma once

#include "transfers/views/TransferDelegate.h"
#include "transfers/views/TransferListModel.h"

#include <QListView>

#include <optional>

class QTimer;

/// The list of transfers with its mouse and keys: a click on a row's button, Del to cancel, Ctrl+K to skip a checksum,
/// Enter or a double click to show a finished download or what failed of a folder, and a context menu with the same
/// commands.
class TransferListView final : public QListView {
    Q_OBJECT

public:
    explicit TransferListView(TransferQueue& queue, QWidget* parent = nullptr);

    /// The buttons of a row, as its state offers them.
    std::vector<TransferAction> actionsOf(const Transfer& transfer) const;

    /// Makes the next failed row current and focuses it; does nothing when none has failed.
    void goToNextFailed();

    /// The selected rows, in their order.
    std::vector<std::shared_ptr<Transfer>> selectedTransfers() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    using Rows = std::vector<std::shared_ptr<Transfer>>;

    /// A row and one of its buttons.
    struct Press {
        QPersistentModelIndex row;
        TransferAction action = TransferAction::cancel;
    };

    std::optional<Press> buttonAt(const QPoint& position) const;
    bool offers(const Transfer& transfer, TransferAction action) const;
    /// Open help follows its row's state.
    void renewHelp(const QModelIndex& changed);
    void openRows(const Rows& rows);
    void showProblems(const Transfer& transfer);
    void trigger(TransferAction action, const Rows& rows);
    Rows offering(TransferAction action, const Rows& rows) const;

    TransferQueue& queue_;
    TransferListModel rows_;
    std::optional<Press> pressed_;
    bool followsEnd_ = true;
    QTimer* ticking_; ///< Rates and times left change between reports too.
};
