#include "transfers/views/TransferListView.h"

#include "foundation/QtText.h"
#include "foundation/views/FileReveal.h"
#include "transfers/TransferTexts.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTimer>
#include <QToolTip>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

TransferListView::TransferListView(TransferQueue& queue, QWidget* parent)
    : QListView(parent)
    , queue_(queue)
    , rows_(queue)
    , ticking_(new QTimer(this))
{
    setModel(&rows_);
    setItemDelegate(new TransferDelegate([this](const QModelIndex& index) { return rows_.transferAt(index); },
        [this](const Transfer& transfer) { return actionOf(transfer); }, this));
    setUniformItemSizes(true);
    setSelectionMode(ExtendedSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    setAccessibleName(tr("Transfers"));

    ticking_->setInterval(1s);
    connect(ticking_, &QTimer::timeout, this, [this] {
        viewport()->update();
        if (queue_.activeTransfers().empty())
            ticking_->stop();
    });
    const auto tick = [this] {
        if (!ticking_->isActive())
            ticking_->start();
    };
    connect(&rows_, &QAbstractItemModel::dataChanged, ticking_, tick);
    connect(&rows_, &QAbstractItemModel::rowsInserted, ticking_, tick);
    // New rows come at the end; who looks at the end goes on doing so.
    connect(&rows_, &QAbstractItemModel::rowsAboutToBeInserted, this,
        [this] { followsEnd_ = verticalScrollBar()->value() >= verticalScrollBar()->maximum(); });
    connect(
        &rows_, &QAbstractItemModel::rowsInserted, this,
        [this] {
            if (followsEnd_)
                scrollToBottom();
        },
        Qt::QueuedConnection);
    // Connected after the model: its rows have gone by then. The current one stays in sight.
    connect(&queue_, &Observable::changed, this, [this, count = 0]() mutable {
        if (std::exchange(count, rows_.rowCount()) > rows_.rowCount() && currentIndex().isValid())
            scrollTo(currentIndex());
    });
}

std::optional<TransferAction> TransferListView::actionOf(const Transfer& transfer) const
{
    if (transfer.state->isLive())
        return TransferAction::cancel;
    if (queue_.canRetry(transfer))
        return TransferAction::retry;
    const bool isThere =
        transfer.state->is(Transfer::State::Case::finished) || transfer.state->is(Transfer::State::Case::skipped);
    if (isThere && transfer.kind == Transfer::Kind::download && *transfer.localPath)
        return TransferAction::show;
    return {};
}

TransferListView::Rows TransferListView::selectedTransfers() const
{
    auto indexes = selectionModel()->selectedIndexes();
    std::ranges::sort(indexes, {}, &QModelIndex::row);
    Rows selected;
    for (const auto& index : indexes)
        selected.push_back(rows_.transferAt(index));
    return selected;
}

TransferListView::Rows TransferListView::offering(TransferAction action, const Rows& rows) const
{
    Rows found;
    std::ranges::copy_if(
        rows, std::back_inserter(found), [&](const auto& transfer) { return actionOf(*transfer) == action; });
    return found;
}

void TransferListView::trigger(TransferAction action, const Rows& rows)
{
    if (action == TransferAction::show) {
        QStringList paths;
        for (const auto& transfer : rows)
            paths.append(QFile::decodeName(QByteArray::fromStdString((*transfer->localPath)->string())));
        revealInFileManager(paths);
        return;
    }
    for (const auto& transfer : rows) {
        if (action == TransferAction::cancel)
            queue_.cancel(transfer);
        else
            queue_.retry(transfer);
    }
}

void TransferListView::keyPressEvent(QKeyEvent* event)
{
    const auto run = [&](TransferAction action) { trigger(action, offering(action, selectedTransfers())); };
    switch (event->key()) {
    case Qt::Key_Delete:
        run(TransferAction::cancel);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (const auto shown = offering(TransferAction::show, selectedTransfers()); !shown.empty())
            trigger(TransferAction::show, shown);
        return;
    default:
        QListView::keyPressEvent(event);
    }
}

QModelIndex TransferListView::buttonAt(const QPoint& position) const
{
    const auto index = indexAt(position);
    const auto transfer = rows_.transferAt(index);
    const bool isOnButton = transfer && actionOf(*transfer)
        && TransferDelegate::actionRect(visualRect(index), layoutDirection()).contains(position);
    return isOnButton ? index : QModelIndex();
}

void TransferListView::mousePressEvent(QMouseEvent* event)
{
    // A press on a button leaves the selection alone.
    pressed_ = event->button() == Qt::LeftButton ? buttonAt(event->position().toPoint()) : QModelIndex();
    if (!pressed_.isValid())
        QListView::mousePressEvent(event);
}

void TransferListView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!pressed_.isValid()) {
        QListView::mouseReleaseEvent(event);
        return;
    }
    const QModelIndex pressed = pressed_;
    pressed_ = QPersistentModelIndex();
    if (buttonAt(event->position().toPoint()) != pressed)
        return;
    const auto transfer = rows_.transferAt(pressed);
    trigger(*actionOf(*transfer), {transfer});
}

void TransferListView::mouseMoveEvent(QMouseEvent* event)
{
    if (!pressed_.isValid())
        QListView::mouseMoveEvent(event);
    // The button under the pointer lights up.
    if (const auto index = indexAt(event->position().toPoint()); index.isValid())
        viewport()->update(TransferDelegate::actionRect(visualRect(index), layoutDirection()));
}

bool TransferListView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (const auto index = buttonAt(help->pos()); index.isValid()) {
            const auto transfer = rows_.transferAt(index);
            QToolTip::showText(help->globalPos(), TransferDelegate::actionHelp(*actionOf(*transfer), *transfer), this);
            return true;
        }
    }
    return QListView::viewportEvent(event);
}

void TransferListView::contextMenuEvent(QContextMenuEvent* event)
{
    const auto selected = selectedTransfers();
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto offer = [&](TransferAction action, const QString& text, const QKeySequence& keys) {
        const auto found = offering(action, selected);
        auto* const item = menu->addAction(text, this, [this, action, found] { trigger(action, found); });
        item->setShortcut(keys);
        item->setEnabled(!found.empty());
    };
    offer(TransferAction::show, tr("Show"), QKeySequence(Qt::Key_Return));
    const auto retried = offering(TransferAction::retry, selected);
    offer(TransferAction::retry, retried.empty() ? tr("Retry") : toQString(retryLabel(*retried.front())), {});
    offer(TransferAction::cancel, tr("Cancel"), QKeySequence::Delete);
    menu->addSeparator();
    const bool hasFailed = selected.size() == 1 && selected.front()->state->is(Transfer::State::Case::failed);
    auto* const copy = menu->addAction(tr("Copy Error"), this,
        [selected] { QApplication::clipboard()->setText(toQString(selected.front()->state->text)); });
    copy->setEnabled(hasFailed);
    menu->addSeparator();
    menu->addAction(tr("Clear Finished"), this, [this] { queue_.clearFinished(); });
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard && currentIndex().isValid();
    menu->popup(isByKey ? viewport()->mapToGlobal(visualRect(currentIndex()).center()) : event->globalPos());
}
