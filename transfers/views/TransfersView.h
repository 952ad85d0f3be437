#pragma once

#include "transfers/TransferQueue.h"
#include "transfers/views/TransferListView.h"

#include <QList>
#include <QUrl>
#include <QWidget>

class Banner;
class ElidedLabel;
class EmptyState;
class QAction;
class QPushButton;
class QStackedLayout;
class QToolButton;

/// The panel of transfers: title, counts and rows. Never takes the focus by itself.
///
/// The number of failures in the title is a button that goes from one to the next, as F8 does.
class TransfersView final : public QWidget {
    Q_OBJECT

public:
    /// The queue outlives the view.
    explicit TransfersView(TransferQueue& queue, QWidget* parent = nullptr);

    TransferListView& list() { return *list_; }

    /// Focuses the rows.
    void focusList();

Q_SIGNALS:
    void closeRequested();

    /// Local files were dropped to be uploaded.
    void filesDropped(const QList<QUrl>& files);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeHeader();
    void render();
    void setDropping(bool isDropping);

    TransferQueue& queue_;
    TransferListView* list_;
    EmptyState* empty_;
    Banner* refusals_;
    ElidedLabel* summary_;
    QPushButton* failed_;
    QAction* nextFailed_;
    QPushButton* clear_;
    QToolButton* close_;
    QStackedLayout* content_;
    QWidget* dropFrame_;
};
