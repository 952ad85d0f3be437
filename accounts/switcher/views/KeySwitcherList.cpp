#include "accounts/switcher/views/KeySwitcherList.h"

#include "foundation/views/Announcer.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>

#include <algorithm>

namespace {

constexpr int symbolSize = 16;
constexpr int padding = Spacing::normal;
constexpr int shortestRow = 32;
constexpr int menuButtonWidth = 28;

/// Draws headings and keys; a key has one line, or two with a subtitle.
class SwitcherRowDelegate final : public QStyledItemDelegate {
public:
    explicit SwitcherRowDelegate(KeySwitcherList& list)
        : QStyledItemDelegate(&list)
        , list_(list)
    {
    }

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override
    {
        const int small = QFontMetrics(textFont(TextSize::small)).height();
        const int name = QFontMetrics(textFont(TextSize::normal)).height();
        if (index.data(KeySwitcherRowsModel::headingRole).toBool())
            return {0, small + (index.row() == 0 ? Spacing::small : Spacing::large) + Spacing::tight};
        const bool hasSubtitle = !index.data(KeySwitcherRowsModel::subtitleRole).toString().isEmpty();
        return {0, std::max(shortestRow, name + (hasSubtitle ? small + 2 : 0) + Spacing::normal)};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        painter->save();
        if (index.data(KeySwitcherRowsModel::headingRole).toBool())
            paintHeading(*painter, option, index);
        else
            paintKey(*painter, option, index);
        painter->restore();
    }

private:
    struct Line {
        QRect place;
        QString text;
        QFont font;
        QColor color;
        Qt::Alignment alignment = Qt::AlignLeft;
    };

    static void draw(QPainter& painter, const QStyleOptionViewItem& option, const QRect& frame, const Line& line)
    {
        const QRect place = QStyle::visualRect(option.direction, frame, line.place);
        painter.setFont(line.font);
        painter.setPen(line.color);
        painter.drawText(place,
            static_cast<int>(QStyle::visualAlignment(option.direction, line.alignment) | Qt::AlignVCenter)
                | Qt::TextSingleLine,
            QFontMetrics(line.font).elidedText(line.text, Qt::ElideMiddle, place.width()));
    }

    static void paintHeading(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        const QFont font = textFont(TextSize::small, QFont::DemiBold);
        const int height = QFontMetrics(font).height();
        const QRect place(option.rect.left() + padding, option.rect.bottom() + 1 - Spacing::tight - height,
            option.rect.width() - 2 * padding, height);
        draw(painter, option, option.rect,
            {place, index.data(Qt::DisplayRole).toString(), font, secondaryText(option.palette)});
    }

    void paintKey(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
    {
        const bool isChosen = option.state.testFlag(QStyle::State_Selected);
        const auto group = list_.hasKeyboard() ? QPalette::Active : QPalette::Inactive;
        if (isChosen)
            painter.fillRect(option.rect, option.palette.color(group, QPalette::Highlight));
        else if (option.state.testFlag(QStyle::State_MouseOver))
            painter.fillRect(option.rect, hoverVeil(option.palette));
        const QColor chosen = option.palette.color(group, QPalette::HighlightedText);
        const auto colored = [&](const QColor& color) { return isChosen ? chosen : color; };
        const bool isMissing = index.data(KeySwitcherRowsModel::missingRole).toBool();

        const QRect content = option.rect.adjusted(padding, 0, -padding, 0);
        const QRect icon(content.left(), content.center().y() - symbolSize / 2 + 1, symbolSize, symbolSize);
        paintSymbol(painter, isMissing ? Symbol::warning : Symbol::key,
            QStyle::visualRect(option.direction, option.rect, icon),
            colored(isMissing ? messageColor(MessageKind::warning, option.palette) : symbolColor(option.palette)));

        QRect text = content.adjusted(symbolSize + Spacing::small, 0, 0, 0);
        if (list_.showsMenuButton(index)) {
            const QRect button = list_.menuButtonRect(option.rect);
            const QRect dots = QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, {symbolSize, symbolSize}, button);
            paintSymbol(painter, Symbol::more, dots, colored(symbolColor(option.palette)));
            text.setRight(option.rect.right() - menuButtonWidth - Spacing::tight);
        }
        const QFont small = textFont(TextSize::small);
        if (const QString flag = index.data(KeySwitcherRowsModel::flagRole).toString(); !flag.isEmpty()) {
            const int width = QFontMetrics(small).horizontalAdvance(flag) + 1;
            const QRect place(text.right() + 1 - width, text.top(), width, text.height());
            draw(painter, option, option.rect,
                {place, flag, small, colored(messageColor(MessageKind::warning, option.palette)), Qt::AlignRight});
            const QRect clock(place.left() - symbolSize - Spacing::tight, icon.top(), symbolSize, symbolSize);
            paintSymbol(painter, Symbol::clock, QStyle::visualRect(option.direction, option.rect, clock),
                colored(messageColor(MessageKind::warning, option.palette)));
            text.setRight(clock.left() - Spacing::small);
        }

        const QFont font = textFont(TextSize::normal);
        const QString subtitle = index.data(KeySwitcherRowsModel::subtitleRole).toString();
        const int nameHeight = QFontMetrics(font).height();
        const int subtitleHeight = subtitle.isEmpty() ? 0 : QFontMetrics(small).height() + 2;
        text.setTop(text.top() + (text.height() - nameHeight - subtitleHeight) / 2);
        text.setHeight(nameHeight);
        const QColor secondary = colored(secondaryText(option.palette));
        draw(painter, option, option.rect,
            {text, index.data(Qt::DisplayRole).toString(), font,
                isMissing ? secondary : colored(option.palette.color(QPalette::Active, QPalette::Text))});
        if (!subtitle.isEmpty()) {
            text.moveTop(text.bottom() + 3);
            text.setHeight(subtitleHeight - 2);
            draw(painter, option, option.rect, {text, subtitle, small, secondary});
        }
    }

    KeySwitcherList& list_;
};

} // namespace

KeySwitcherList::KeySwitcherList(KeySwitcherRowsModel& rows, QWidget* parent)
    : QListView(parent)
    , rows_(rows)
{
    setModel(&rows_);
    setItemDelegate(new SwitcherRowDelegate(*this));
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setMouseTracking(true);
    setAccessibleName(tr("Other keys"));
}

int KeySwitcherList::contentHeight() const
{
    int height = 0;
    for (int row = 0; row < rows_.rowCount(); ++row)
        height += sizeHintForRow(row);
    return height;
}

void KeySwitcherList::setEmptyText(const QString& text)
{
    if (text == emptyText_)
        return;
    emptyText_ = text;
    viewport()->update();
    if (!text.isEmpty())
        announce(*this, text);
}

void KeySwitcherList::choose(const QModelIndex& index)
{
    setCurrentIndex(index);
    // Shows the heading of the first key together with it.
    if (index.isValid() && !rows_.nextKey(index.row() - 1, -1).isValid())
        scrollToTop();
}

QModelIndex KeySwitcherList::chosen() const
{
    // A list that gets the focus makes its first row the current one without selecting it.
    const QModelIndex current = currentIndex();
    return selectionModel()->isSelected(current) ? current : QModelIndex();
}

bool KeySwitcherList::showsMenuButton(const QModelIndex& index) const
{
    return index == hovered_ || (hasFocus() && index == chosen());
}

QRect KeySwitcherList::menuButtonRect(const QRect& row) const
{
    const QRect button(row.right() + 1 - menuButtonWidth - Spacing::tight, row.top(), menuButtonWidth, row.height());
    return QStyle::visualRect(layoutDirection(), row, button);
}

bool KeySwitcherList::hasKeyboard() const
{
    return hasFocus() || (searchField_ && searchField_->hasFocus());
}

bool KeySwitcherList::moveChoice(int key)
{
    const int row = chosen().isValid() ? chosen().row() : -1;
    const int page = std::max(1, viewport()->height() / std::max(1, sizeHintForRow(std::max(row, 0))) - 1);
    const int last = rows_.rowCount() - 1;
    QModelIndex next;
    switch (key) {
    case Qt::Key_Down:
        next = rows_.nextKey(row + 1, 1);
        break;
    case Qt::Key_Up:
        next = rows_.nextKey(row - 1, -1);
        break;
    case Qt::Key_Home:
        next = rows_.nextKey(0, 1);
        break;
    case Qt::Key_End:
        next = rows_.nextKey(last, -1);
        break;
    case Qt::Key_PageDown:
        next = rows_.nextKey(std::min(row + page, last), -1);
        break;
    case Qt::Key_PageUp:
        next = rows_.nextKey(std::max(row - page, 0), 1);
        break;
    default:
        return false;
    }
    if (next.isValid())
        choose(next);
    else if (key == Qt::Key_Down)
        focusNextChild();
    else if (key == Qt::Key_Up)
        focusPreviousChild();
    return true;
}

void KeySwitcherList::openMenu(const QModelIndex& index)
{
    if (const auto* const row = rows_.keyAt(index)) {
        const QRect button = menuButtonRect(visualRect(index));
        Q_EMIT menuRequested(*row, viewport()->mapToGlobal(button.bottomLeft()));
    }
}

void KeySwitcherList::keyPressEvent(QKeyEvent* event)
{
    const bool isPlain = event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier;
    if (isPlain && moveChoice(event->key()))
        return;
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (const auto* const row = rows_.keyAt(chosen()))
            Q_EMIT taken(*row);
        return;
    }
    const bool isLetter = !event->text().isEmpty() && event->text().front().isPrint()
        && !event->modifiers().testFlag(Qt::ControlModifier) && !event->modifiers().testFlag(Qt::AltModifier);
    if (isLetter && searchField_ && searchField_->isVisible()) {
        searchField_->setFocus(Qt::OtherFocusReason);
        QApplication::sendEvent(searchField_, event);
        return;
    }
    QListView::keyPressEvent(event);
}

void KeySwitcherList::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        pressed_ = indexAt(event->position().toPoint());
}

void KeySwitcherList::mouseReleaseEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    const bool isClick = event->button() == Qt::LeftButton && index.isValid() && index == pressed_;
    pressed_ = QModelIndex();
    if (!isClick)
        return;
    if (menuButtonRect(visualRect(index)).contains(event->position().toPoint()))
        openMenu(index);
    else if (const auto* const row = rows_.keyAt(index))
        Q_EMIT taken(*row);
}

void KeySwitcherList::mouseMoveEvent(QMouseEvent* event)
{
    hovered_ = indexAt(event->position().toPoint());
    viewport()->update();
    QListView::mouseMoveEvent(event);
}

void KeySwitcherList::leaveEvent(QEvent* event)
{
    hovered_ = QModelIndex();
    viewport()->update();
    QListView::leaveEvent(event);
}

void KeySwitcherList::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = isKey ? chosen() : indexAt(event->pos());
    if (isKey)
        openMenu(index);
    else if (const auto* const row = rows_.keyAt(index))
        Q_EMIT menuRequested(*row, event->globalPos());
}

void KeySwitcherList::focusInEvent(QFocusEvent* event)
{
    QListView::focusInEvent(event);
    if (chosen().isValid())
        return;
    if (event->reason() == Qt::TabFocusReason)
        choose(rows_.nextKey(0, 1));
    else if (event->reason() == Qt::BacktabFocusReason)
        choose(rows_.nextKey(rows_.rowCount() - 1, -1));
}

void KeySwitcherList::paintEvent(QPaintEvent* event)
{
    QListView::paintEvent(event);
    if (emptyText_.isEmpty())
        return;
    QPainter painter(viewport());
    painter.setPen(secondaryText(palette()));
    painter.drawText(viewport()->rect().adjusted(padding, Spacing::small, -padding, 0),
        static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignTop) | Qt::TextWordWrap,
        emptyText_);
}
