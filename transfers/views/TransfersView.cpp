#include "transfers/views/TransfersView.h"

#include "foundation/QtText.h"
#include "foundation/views/DropFrame.h"
#include "foundation/views/ElidedLabel.h"
#include "foundation/views/Labels.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"
#include "transfers/TransferTexts.h"

#include <QAction>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QStackedLayout>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QList<QUrl> localFiles(const QMimeData& data)
{
    QList<QUrl> files;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile())
            files.append(url);
    }
    return files;
}

} // namespace

TransfersView::TransfersView(TransferQueue& queue, QWidget* parent)
    : QWidget(parent)
    , queue_(queue)
    , list_(new TransferListView(queue, this))
    , empty_(new EmptyState(this))
    , refusals_(new Banner(this))
    , summary_(new ElidedLabel({}, this))
    , failed_(new QPushButton(this))
    , nextFailed_(new QAction(tr("Next Failed Transfer"), this))
    , clear_(new QPushButton(tr("Clear Finished"), this))
    , close_(new QToolButton(this))
    , content_(new QStackedLayout)
    , dropFrame_(new DropFrame(this, DropFrame::Fill::veil))
{
    setAcceptDrops(true);
    setAccessibleName(tr("Transfers"));
    empty_->showText(
        Symbol::transfers, tr("No Transfers"), tr("Drop files here to upload, or select files and choose Download."));
    content_->addWidget(empty_);
    content_->addWidget(list_);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(refusals_);
    column->addLayout(content_, 1);

    // The counts are updated a few times a second, however many rows change.
    auto* const gathering = new QTimer(this);
    gathering->setSingleShot(true);
    gathering->setInterval(100);
    connect(gathering, &QTimer::timeout, this, &TransfersView::render);
    connect(list_->model(), &QAbstractItemModel::dataChanged, gathering, [gathering] {
        if (!gathering->isActive())
            gathering->start();
    });
    connect(&queue_, &Observable::changed, this, &TransfersView::render);
    nextFailed_->setShortcut(Qt::Key_F8);
    addAction(nextFailed_);
    connect(nextFailed_, &QAction::triggered, list_, &TransferListView::goToNextFailed);
    connect(failed_, &QPushButton::clicked, nextFailed_, &QAction::trigger);
    connect(clear_, &QPushButton::clicked, this, [this] { queue_.clearFinished(); });
    connect(close_, &QToolButton::clicked, this, &TransfersView::closeRequested);
    connect(refusals_, &Banner::closed, this, [this] { queue_.dismissRefusals(); });
    render();
}

QWidget* TransfersView::makeHeader()
{
    auto* const header = new QWidget(this);
    clear_->setObjectName(QStringLiteral("clearFinished"));
    clear_->setToolTip(tr("Take finished, cancelled and failed transfers off the list"));
    failed_->setObjectName(QStringLiteral("nextFailed"));
    failed_->setFlat(true);
    failed_->setIcon(symbolIcon(Symbol::error, SymbolTint::danger));
    failed_->setToolTip(tr("Go to the next failed transfer (%1)").arg(nextFailed_->shortcut().toString()));
    close_->setIcon(symbolIcon(Symbol::close));
    close_->setAutoRaise(true);
    close_->setToolTip(tr("Hide Transfers"));
    close_->setAccessibleName(tr("Hide Transfers"));
    summary_->setSecondary(true);
    summary_->setElision(Qt::ElideRight);
    auto* const row = new QHBoxLayout(header);
    row->setContentsMargins(Spacing::normal, Spacing::small, Spacing::small, Spacing::small);
    row->setSpacing(Spacing::small);
    row->addWidget(makeLabel(tr("Transfers"), TextSize::normal, QFont::DemiBold, header));
    row->addWidget(summary_, 1);
    row->addWidget(failed_);
    row->addWidget(clear_);
    row->addWidget(close_);
    return header;
}

void TransfersView::focusList()
{
    QWidget* const target = content_->currentWidget() == list_ ? static_cast<QWidget*>(list_) : close_;
    // Before focusing: a focused list would make its first row current without selecting it.
    if (target == list_ && !list_->currentIndex().isValid())
        list_->setCurrentIndex(list_->model()->index(0, 0));
    target->setFocus(Qt::OtherFocusReason);
}

void TransfersView::render()
{
    const auto& transfers = *queue_.transfers;
    content_->setCurrentIndex(transfers.empty() ? 0 : 1);
    summary_->setText(toQString(summaryText(transfers)));
    const auto failed = toQString(failedText(transfers));
    failed_->setText(failed);
    failed_->setVisible(!failed.isEmpty());
    nextFailed_->setEnabled(!failed.isEmpty());
    clear_->setEnabled(std::ranges::any_of(transfers, [](const auto& transfer) { return !transfer->state->isLive(); }));
    const auto refused = toQString(refusalSummary(*queue_.refusals));
    if (refused.isEmpty())
        refusals_->dismiss();
    else if (refusals_->isHidden() || refusals_->text() != refused)
        refusals_->showMessage(MessageKind::warning, refused);
}

void TransfersView::setDropping(bool isDropping)
{
    dropFrame_->setGeometry(rect());
    dropFrame_->raise();
    dropFrame_->setVisible(isDropping);
}

void TransfersView::dragEnterEvent(QDragEnterEvent* event)
{
    if (localFiles(*event->mimeData()).isEmpty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    setDropping(true);
}

void TransfersView::dragLeaveEvent(QDragLeaveEvent*)
{
    setDropping(false);
}

void TransfersView::dropEvent(QDropEvent* event)
{
    setDropping(false);
    const auto files = localFiles(*event->mimeData());
    if (files.isEmpty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    Q_EMIT filesDropped(files);
}

void TransfersView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), hairline(palette()));
}
