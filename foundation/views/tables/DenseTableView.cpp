#include "foundation/views/tables/DenseTableView.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/StylePainting.h"
#include "foundation/views/tables/NameDelegate.h"
#include "foundation/views/tables/TableColumns.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>

namespace {

constexpr int rowPadding = 10;
constexpr int minNameWidth = 180;

} // namespace

DenseTableView::DenseTableView(QWidget* parent)
    : QTableView(parent)
{
    setShowGrid(false);
    setAlternatingRowColors(false);
    setFrameShape(QFrame::NoFrame);
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    setItemDelegate(new SecondaryTextDelegate(this));
    setUpHeader();
    setRowHeight();
    connect(this, &QAbstractItemView::doubleClicked, this,
        [this](const QModelIndex& index) { Q_EMIT opened(index.siblingAtColumn(nameColumn_)); });
}

void DenseTableView::setUpHeader()
{
    verticalHeader()->setVisible(false);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView* header = horizontalHeader();
    header->setSectionsMovable(true);
    header->setSectionsClickable(true);
    header->setHighlightSections(false);
    header->setSortIndicatorShown(true);
    header->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    header->setMinimumSectionSize(48);
    header->setTextElideMode(Qt::ElideRight);
    header->setFont(font());
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QHeaderView::customContextMenuRequested, this,
        [header](const QPoint& position) { makeColumnsMenu(*header)->popup(header->mapToGlobal(position)); });
    connect(header, &QHeaderView::sectionResized, this, [this](int section, int before, int after) {
        if (isFilling_) {
            return;
        }
        // Hiding and showing are reported as sizes of 0.
        if (section != nameColumn_ || before == 0 || after == 0) {
            fillWidth();
        }
        Q_EMIT stateChanged();
    });
    connect(header, &QHeaderView::sectionMoved, this, &DenseTableView::stateChanged);
}

void DenseTableView::setModel(QAbstractItemModel* model)
{
    QTableView::setModel(model);
    hoveredRow_ = -1;
    fillWidth();
}

void DenseTableView::setNameColumn(int column)
{
    nameColumn_ = column;
    fillWidth();
}

void DenseTableView::restoreState(const QString& state)
{
    if (model() == nullptr) {
        return;
    }
    {
        const QScopedValueRollback filling(isFilling_, true);
        restoreColumnState(*horizontalHeader(), state);
    }
    fillWidth();
}

void DenseTableView::setRowHeight()
{
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + rowPadding);
}

void DenseTableView::keyPressEvent(QKeyEvent* event)
{
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isPlain = modifiers == Qt::NoModifier;
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && isPlain) {
        if (currentIndex().isValid()) {
            Q_EMIT opened(currentIndex().siblingAtColumn(nameColumn_));
        }
        event->accept();
    } else if ((event->key() == Qt::Key_Backspace && isPlain)
        || (event->key() == Qt::Key_Up && modifiers == Qt::AltModifier)) {
        Q_EMIT goUp();
        event->accept();
    } else if (isEnter || modifiers.testFlag(Qt::AltModifier)) {
        // Chords with Alt belong to the window: history, properties.
        event->ignore();
    } else if (event->key() == Qt::Key_Space && isPlain) {
        const bool isSearching =
            sinceTyped_.isValid() && !sinceTyped_.hasExpired(QApplication::keyboardInputInterval());
        if (isSearching && !typed_.isEmpty()) {
            keyboardSearch(QStringLiteral(" "));
        } else {
            event->ignore();
        }
    } else if (event->matches(QKeySequence::Copy)) {
        // The view itself would copy a single cell.
        event->ignore();
    } else {
        QTableView::keyPressEvent(event);
    }
}

void DenseTableView::keyboardSearch(const QString& letters)
{
    if (model() == nullptr || model()->rowCount(rootIndex()) == 0) {
        return;
    }
    if (!sinceTyped_.isValid() || sinceTyped_.hasExpired(QApplication::keyboardInputInterval())) {
        typed_.clear();
    }
    sinceTyped_.start();
    const int current = std::max(0, currentIndex().row());
    // The same letter again moves to the next name that starts with it; a longer word stays while it still matches.
    const bool repeats = !typed_.isEmpty() && letters == typed_;
    if (!repeats) {
        typed_ += letters;
    }
    const bool isNewSearch = typed_.size() == letters.size();
    const int row = firstMatch(typed_, isNewSearch && currentIndex().isValid() ? current + 1 : current);
    if (row >= 0) {
        const QModelIndex found = model()->index(row, std::max(0, currentIndex().column()), rootIndex());
        selectionModel()->setCurrentIndex(found, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        scrollTo(found);
    }
}

int DenseTableView::firstMatch(const QString& prefix, int from) const
{
    const int count = model()->rowCount(rootIndex());
    for (int step = 0; step < count; ++step) {
        const int row = (from + step) % count;
        if (isRowHidden(row)) {
            continue;
        }
        const QVariant text = model()->index(row, nameColumn_, rootIndex()).data(Qt::DisplayRole);
        if (text.toString().startsWith(prefix, Qt::CaseInsensitive)) {
            return row;
        }
    }
    return -1;
}

QModelIndex DenseTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const QModelIndex current = currentIndex();
    const int count = model() != nullptr ? model()->rowCount(rootIndex()) : 0;
    if (count == 0) {
        return {};
    }
    const int column = std::max(0, current.column());
    switch (action) {
    // Rows are the unit: these keys scroll the view and move to no other cell.
    case MoveLeft:
    case MoveRight: {
        auto* bar = horizontalScrollBar();
        const bool isForward = (action == MoveRight) != isRightToLeft();
        bar->setValue(bar->value() + (isForward ? 1 : -1) * bar->singleStep() * 4);
        return current;
    }
    case MoveHome:
        return model()->index(0, column, rootIndex());
    case MoveEnd:
        return model()->index(count - 1, column, rootIndex());
    default:
        return QTableView::moveCursor(action, modifiers);
    }
}

void DenseTableView::contextMenuEvent(QContextMenuEvent* event)
{
    if (event->reason() != QContextMenuEvent::Keyboard) {
        // Below the last row the menu is about the place, not about an earlier selection.
        if (!indexAt(event->pos()).isValid())
            clearSelection();
        Q_EMIT menuRequested(event->globalPos());
    } else {
        const QRect row = visualRect(currentIndex().siblingAtColumn(nameColumn_)) & viewport()->rect();
        Q_EMIT menuRequested(viewport()->mapToGlobal(row.isValid() ? row.bottomLeft() : QPoint(0, 0)));
    }
    event->accept();
}

bool DenseTableView::viewportEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::HoverMove:
        setHoveredRow(rowAt(static_cast<QHoverEvent*>(event)->position().toPoint().y()));
        break;
    case QEvent::HoverLeave:
    case QEvent::Leave:
        setHoveredRow(-1);
        break;
    case QEvent::Wheel:
        setHoveredRow(-1);
        break;
    default:
        break;
    }
    return QTableView::viewportEvent(event);
}

void DenseTableView::setHoveredRow(int row)
{
    if (row != hoveredRow_) {
        updateRow(std::exchange(hoveredRow_, row));
        updateRow(row);
    }
}

QRect DenseTableView::rowRect(int row) const
{
    return {0, rowViewportPosition(row), viewport()->width(), rowHeight(row)};
}

void DenseTableView::updateRow(int row)
{
    if (row >= 0) {
        viewport()->update(rowRect(row));
    }
}

void DenseTableView::paintEvent(QPaintEvent* event)
{
    QTableView::paintEvent(event);
    const QModelIndex current = currentIndex();
    if (!hasFocus() || !current.isValid()) {
        return;
    }
    QPainter painter(viewport());
    const QRect row = rowRect(current.row());
    if (!selectionModel()->isSelected(current)) {
        paintFocusRing(painter, row, palette(), 3);
    } else {
        // On a selected row the ring has to contrast with the colour of the selection.
        const QColor ring = mixed(palette().color(QPalette::Active, QPalette::HighlightedText),
            palette().color(QPalette::Active, QPalette::Highlight), 0.55);
        painter.setPen(ring);
        painter.drawRect(row.adjusted(1, 1, -2, -2));
    }
}

void DenseTableView::resizeEvent(QResizeEvent* event)
{
    QTableView::resizeEvent(event);
    fillWidth();
}

// The name takes the remaining width, so that there is neither a gap nor an unneeded scroll bar.
void DenseTableView::fillWidth()
{
    QHeaderView* header = horizontalHeader();
    if (isFilling_ || nameColumn_ >= header->count()) {
        return;
    }
    const QScopedValueRollback filling(isFilling_, true);
    const int others = header->length() - header->sectionSize(nameColumn_);
    header->resizeSection(nameColumn_, std::max(minNameWidth, viewport()->width() - others));
}

void DenseTableView::focusInEvent(QFocusEvent* event)
{
    QTableView::focusInEvent(event);
    // When the focus comes by a key, there is a row to act on at once.
    if (!currentIndex().isValid() && model() != nullptr && model()->rowCount(rootIndex()) > 0
        && event->reason() != Qt::MouseFocusReason) {
        selectionModel()->setCurrentIndex(model()->index(0, nameColumn_, rootIndex()), QItemSelectionModel::NoUpdate);
    }
    viewport()->update();
}

void DenseTableView::focusOutEvent(QFocusEvent* event)
{
    QTableView::focusOutEvent(event);
    viewport()->update();
}

void DenseTableView::changeEvent(QEvent* event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        setRowHeight();
    }
}

void DenseTableView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QTableView::currentChanged(current, previous);
    updateRow(previous.row());
    updateRow(current.row());
}
