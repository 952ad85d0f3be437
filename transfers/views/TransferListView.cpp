#include "transfers/views/TransferListView.h"

#include "foundation/QtText.h"
#include "foundation/views/FileReveal.h"
#include "transfers/TransferProgress.h"
#include "transfers/TransferTexts.h"
#include "transfers/views/TransferProblemsSheet.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFile>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTimer>
#include <QToolTip>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

const QKeySequence skipKeys(Qt::CTRL | Qt::Key_K);

} // namespace

TransferListView::TransferListView(TransferQueue& queue, QWidget* parent)
    : QListView(parent)
    , queue_(queue)
    , rows_(queue)
    , ticking_(new QTimer(this))
{
    setModel(&rows_);
    setItemDelegate(new TransferDelegate([this](const QModelIndex& index) { return rows_.transferAt(index); },
        [this](const Transfer& transfer) { return actionsOf(transfer); }, this));
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
    connect(&rows_, &QAbstractItemModel::dataChanged, this, &TransferListView::renewHelp);
    // New rows come at the end; a view scrolled to the end stays there.
    connect(&rows_, &QAbstractItemModel::rowsAboutToBeInserted, this,
        [this] { followsEnd_ = verticalScrollBar()->value() >= verticalScrollBar()->maximum(); });
    connect(
        &rows_, &QAbstractItemModel::rowsInserted, this,
        [this] {
            if (followsEnd_)
                scrollToBottom();
        },
        Qt::QueuedConnection);
    // Connected after the model, so its rows are already removed. The current row stays visible.
    connect(&queue_, &Observable::changed, this, [this, count = 0]() mutable {
        if (std::exchange(count, rows_.rowCount()) > rows_.rowCount() && currentIndex().isValid())
            scrollTo(currentIndex());
    });
}

std::vector<TransferAction> TransferListView::actionsOf(const Transfer& transfer) const
{
    const auto& state = *transfer.state;
    std::vector<TransferAction> actions;
    if (canSkipChecksum(transfer))
        actions.push_back(TransferAction::skipChecksum);
    else if (!transfer.fileProblems->empty())
        actions.push_back(TransferAction::details);
    const bool isThere = state.is(Transfer::State::Case::finished) || state.is(Transfer::State::Case::skipped);
    if (state.isLive())
        actions.push_back(TransferAction::cancel);
    else if (queue_.canRetry(transfer))
        actions.push_back(TransferAction::retry);
    else if (isThere && transfer.kind == Transfer::Kind::download && *transfer.localPath)
        actions.push_back(TransferAction::show);
    return actions;
}

bool TransferListView::offers(const Transfer& transfer, TransferAction action) const
{
    return std::ranges::count(actionsOf(transfer), action) > 0;
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
        rows, std::back_inserter(found), [&](const auto& transfer) { return offers(*transfer, action); });
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
        switch (action) {
        case TransferAction::cancel:
            queue_.cancel(transfer);
            break;
        case TransferAction::skipChecksum:
            queue_.skipChecksum(transfer);
            break;
        case TransferAction::retry:
            queue_.retry(transfer);
            break;
        case TransferAction::details:
            showProblems(*transfer);
            return;
        case TransferAction::show:
            break;
        }
    }
}

void TransferListView::showProblems(const Transfer& transfer)
{
    auto* const sheet = new TransferProblemsSheet(transfer, window());
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

void TransferListView::openRows(const Rows& rows)
{
    // Problems come first: they are the likely reason to open such a row.
    for (const auto action : {TransferAction::details, TransferAction::show}) {
        if (const auto found = offering(action, rows); !found.empty()) {
            trigger(action, found);
            return;
        }
    }
}

void TransferListView::goToNextFailed()
{
    const int row = rows_.nextFailed(currentIndex().row());
    if (row < 0)
        return;
    setCurrentIndex(rows_.index(row));
    scrollTo(currentIndex());
    setFocus(Qt::ShortcutFocusReason);
}

void TransferListView::keyPressEvent(QKeyEvent* event)
{
    const auto run = [&](TransferAction action) { trigger(action, offering(action, selectedTransfers())); };
    if (QKeySequence(event->keyCombination()) == skipKeys)
        run(TransferAction::skipChecksum);
    else if (event->key() == Qt::Key_Delete)
        run(TransferAction::cancel);
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        openRows(selectedTransfers());
    else
        QListView::keyPressEvent(event);
}

std::optional<TransferListView::Press> TransferListView::buttonAt(const QPoint& position) const
{
    const auto index = indexAt(position);
    const auto transfer = rows_.transferAt(index);
    if (!transfer)
        return {};
    for (const auto& button :
        TransferButtons::placed(visualRect(index), layoutDirection(), *transfer, actionsOf(*transfer))) {
        if (button.place.contains(position))
            return Press{index, button.action};
    }
    return {};
}

void TransferListView::mousePressEvent(QMouseEvent* event)
{
    // A press on a button leaves the selection alone.
    pressed_ = event->button() == Qt::LeftButton ? buttonAt(event->position().toPoint()) : std::nullopt;
    if (!pressed_)
        QListView::mousePressEvent(event);
}

void TransferListView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!pressed_) {
        QListView::mouseReleaseEvent(event);
        return;
    }
    const auto pressed = std::exchange(pressed_, std::nullopt);
    const auto released = buttonAt(event->position().toPoint());
    // The state may have changed under the pointer, and the button with it.
    if (!released || released->row != pressed->row || released->action != pressed->action)
        return;
    trigger(pressed->action, {rows_.transferAt(pressed->row)});
}

void TransferListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || buttonAt(event->position().toPoint())) {
        mousePressEvent(event);
        return;
    }
    QListView::mouseDoubleClickEvent(event);
    if (const auto transfer = rows_.transferAt(indexAt(event->position().toPoint())))
        openRows({transfer});
}

void TransferListView::mouseMoveEvent(QMouseEvent* event)
{
    if (!pressed_)
        QListView::mouseMoveEvent(event);
    // The button under the pointer lights up.
    if (const auto index = indexAt(event->position().toPoint()); index.isValid())
        update(index);
}

bool TransferListView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (const auto button = buttonAt(help->pos())) {
            const auto transfer = rows_.transferAt(button->row);
            QToolTip::showText(help->globalPos(), TransferButtons::help(button->action, *transfer), this);
            return true;
        }
    }
    return QListView::viewportEvent(event);
}

void TransferListView::renewHelp(const QModelIndex& changed)
{
    const QPoint pointer = viewport()->mapFromGlobal(QCursor::pos());
    if (!QToolTip::isVisible() || !viewport()->underMouse() || indexAt(pointer) != changed || buttonAt(pointer))
        return;
    if (const auto help = changed.data(Qt::ToolTipRole).toString(); help != QToolTip::text())
        QToolTip::showText(QCursor::pos(), help, viewport(), visualRect(changed));
}

void TransferListView::contextMenuEvent(QContextMenuEvent* event)
{
    const auto selected = selectedTransfers();
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    const auto offer = [&](TransferAction action, const QString& text, const QKeySequence& keys) {
        const auto found = offering(action, selected);
        auto* const item = menu->addAction(text, this, [this, action, found] { trigger(action, found); });
        item->setShortcut(keys);
        if (!found.empty())
            item->setToolTip(TransferButtons::help(action, *found.front()));
        item->setEnabled(!found.empty());
    };
    const auto detailed = offering(TransferAction::details, selected);
    offer(TransferAction::show, tr("Show"), detailed.empty() ? QKeySequence(Qt::Key_Return) : QKeySequence());
    if (!detailed.empty())
        offer(TransferAction::details, tr("Details…"), QKeySequence(Qt::Key_Return));
    if (const auto hashing = offering(TransferAction::skipChecksum, selected); !hashing.empty())
        offer(TransferAction::skipChecksum, toQString(skipLabel(*hashing.front())), skipKeys);
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
