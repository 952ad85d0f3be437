#include "foundation/views/panes/PathBar.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"
#include "foundation/views/tables/NameText.h"

#include <QDropEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

#include <algorithm>

namespace {

constexpr int separatorWidth = 12;
constexpr int textPadding = 16;
constexpr int iconRoom = 22;
constexpr int maxFoldableWidth = 220;
constexpr int minSegmentWidth = 56;
constexpr const char* titleProperty = "title";

// A lone "&" in a button's text would underline the next letter.
QString withoutMnemonic(QString text)
{
    return text.replace(u'&', QStringLiteral("&&"));
}

QString titleOf(const QToolButton& button)
{
    return button.property(titleProperty).toString();
}

int paddingOf(const QToolButton& button)
{
    return textPadding + (button.icon().isNull() ? 0 : iconRoom);
}

int naturalWidth(const QToolButton& button)
{
    return button.fontMetrics().horizontalAdvance(titleOf(button)) + paddingOf(button) + 1;
}

void shorten(QToolButton& button, int width)
{
    const QString title = titleOf(button);
    const QString text = elidedName(title, button.fontMetrics(), width - paddingOf(button));
    button.setText(withoutMnemonic(text));
    button.setToolTip(text == title ? QString() : title.toHtmlEscaped());
}

} // namespace

PathBar::PathBar(QWidget* parent)
    : QWidget(parent)
    , fold_(new QToolButton(this))
    , foldMenu_(new QMenu(this))
    , field_(new QLineEdit(this))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(tr("Path"));
    fold_->setText(QStringLiteral("…"));
    fold_->setAutoRaise(true);
    fold_->setFocusPolicy(Qt::TabFocus);
    fold_->setAccessibleName(tr("Folders between"));
    fold_->setToolTip(tr("Show the folders between"));
    fold_->installEventFilter(this);
    fold_->setVisible(false);
    field_->setAccessibleName(tr("Path"));
    field_->setVisible(false);
    field_->installEventFilter(this);
    connect(foldMenu_, &QMenu::aboutToShow, this, &PathBar::fillFoldMenu);
    connect(fold_, &QToolButton::clicked, this,
        [this] { foldMenu_->popup(fold_->mapToGlobal(QPoint(0, fold_->height()))); });
    connect(field_, &QLineEdit::returnPressed, this, [this] {
        const QString typed = field_->text();
        endEditing();
        Q_EMIT navigate(typed);
    });
}

void PathBar::setSegments(const QList<PathSegment>& segments)
{
    if (segments == segments_) {
        return;
    }
    segments_ = segments;
    const bool hadFocus = buttons_.contains(qobject_cast<QToolButton*>(focusWidget())) && isAncestorOf(focusWidget());
    const bool keepsFocus = hadFocus && focusWidget()->hasFocus();
    for (QToolButton* button : std::as_const(buttons_)) {
        // The button may be the one whose click is being handled.
        button->hide();
        button->deleteLater();
    }
    buttons_.clear();
    for (const PathSegment& segment : segments) {
        buttons_.append(makeButton(segment, &segment == &segments.constLast()));
    }
    arrange();
    if (keepsFocus && !buttons_.isEmpty()) {
        buttons_.constLast()->setFocus();
    }
}

QToolButton* PathBar::makeButton(const PathSegment& segment, bool isLast)
{
    auto* button = new QToolButton(this);
    const QString title = showableName(segment.title);
    button->setProperty(titleProperty, title);
    button->setAccessibleName(title);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setAcceptDrops(true);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    if (segment.symbol) {
        button->setIcon(symbolIcon(*segment.symbol));
    }
    if (isLast) {
        QFont bold = font();
        bold.setBold(true);
        button->setFont(bold);
    }
    button->installEventFilter(this);
    connect(button, &QToolButton::clicked, this, [this, path = segment.path] { Q_EMIT navigate(path); });
    return button;
}

void PathBar::beginEditing()
{
    field_->setText(segments_.isEmpty() ? QString() : segments_.constLast().path);
    field_->setGeometry(rect().adjusted(Spacing::tight, 1, -Spacing::tight, -1));
    field_->setVisible(true);
    field_->raise();
    field_->selectAll();
    field_->setFocus(Qt::ShortcutFocusReason);
    arrange();
}

bool PathBar::isEditing() const
{
    return field_->isVisibleTo(this);
}

void PathBar::endEditing()
{
    if (!isEditing()) {
        return;
    }
    const bool hadFocus = field_->hasFocus();
    field_->setVisible(false);
    arrange();
    if (hadFocus && !buttons_.isEmpty()) {
        buttons_.constLast()->setFocus();
    }
}

QStringList PathBar::shownTitles() const
{
    QStringList titles;
    for (const QToolButton* button : shown_) {
        titles.append(button == fold_ ? QStringLiteral("…") : titleOf(*button));
    }
    return titles;
}

QSize PathBar::sizeHint() const
{
    return {320, std::max(36, fontMetrics().height() + 18)};
}

QSize PathBar::minimumSizeHint() const
{
    return {2 * minSegmentWidth + 48, sizeHint().height()};
}

bool PathBar::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == field_) {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            endEditing();
            return true;
        }
        if (event->type() == QEvent::FocusOut && static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason
            && static_cast<QFocusEvent*>(event)->reason() != Qt::ActiveWindowFocusReason) {
            endEditing();
        }
        return false;
    }
    auto* button = qobject_cast<QToolButton*>(watched);
    return button != nullptr && (handleDrag(button, event) || handleKey(button, event));
}

bool PathBar::handleDrag(QToolButton* button, QEvent* event)
{
    const auto index = buttons_.indexOf(button);
    if (index < 0) {
        return false;
    }
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto* drag = static_cast<QDropEvent*>(event);
        if (drag->mimeData()->hasUrls()) {
            button->setDown(true);
            drag->setDropAction(Qt::CopyAction);
            drag->accept();
        }
        return true;
    }
    case QEvent::DragLeave:
        button->setDown(false);
        return true;
    case QEvent::Drop: {
        auto* drop = static_cast<QDropEvent*>(event);
        button->setDown(false);
        if (drop->mimeData()->hasUrls()) {
            drop->setDropAction(Qt::CopyAction);
            drop->accept();
            Q_EMIT dropped(drop->mimeData()->urls(), segments_.at(index).path);
        }
        return true;
    }
    default:
        return false;
    }
}

bool PathBar::handleKey(QToolButton* button, QEvent* event)
{
    if (event->type() != QEvent::KeyPress) {
        return false;
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    const int forward = layoutDirection() == Qt::RightToLeft ? Qt::Key_Left : Qt::Key_Right;
    const int back = layoutDirection() == Qt::RightToLeft ? Qt::Key_Right : Qt::Key_Left;
    const auto at = shown_.indexOf(button);
    if (key->modifiers() != Qt::NoModifier || at < 0) {
        return false;
    }
    const auto next = key->key() == forward ? at + 1 : key->key() == back ? at - 1 : at;
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
        button->click();
        return true;
    }
    if (next == at) {
        return false;
    }
    if (next >= 0 && next < shown_.size()) {
        shown_.at(next)->setFocus(Qt::TabFocusReason);
    }
    return true;
}

void PathBar::fillFoldMenu()
{
    foldMenu_->clear();
    for (int index = 1; index <= folded_; ++index) {
        const PathSegment& segment = segments_.at(index);
        auto* action = foldMenu_->addAction(
            symbolIcon(Symbol::folder), withoutMnemonic(elidedName(showableName(segment.title), fontMetrics(), 360)));
        connect(action, &QAction::triggered, this, [this, path = segment.path] { Q_EMIT navigate(path); });
    }
}

void PathBar::arrange()
{
    const int room = width() - 2 * Spacing::tight;
    const auto widthOf = [this](QToolButton* button) {
        if (button == fold_) {
            return fold_->fontMetrics().horizontalAdvance(QStringLiteral("…")) + textPadding;
        }
        const bool isEnd = button == buttons_.constFirst() || button == buttons_.constLast();
        return isEnd ? naturalWidth(*button) : std::min(naturalWidth(*button), maxFoldableWidth);
    };
    const auto total = [&](const QList<QToolButton*>& buttons) {
        int sum = static_cast<int>(std::max<qsizetype>(buttons.size() - 1, 0)) * separatorWidth;
        for (QToolButton* button : buttons) {
            sum += widthOf(button);
        }
        return sum;
    };
    QList<QToolButton*> wanted = buttons_;
    folded_ = 0;
    while (total(wanted) > room && folded_ < buttons_.size() - 2) {
        // The steps after the first are folded first: the present folder and those near it matter most.
        ++folded_;
        wanted = QList<QToolButton*>{buttons_.constFirst(), fold_} + buttons_.mid(folded_ + 1);
    }
    for (QToolButton* button : std::as_const(buttons_)) {
        button->setVisible(!isEditing() && wanted.contains(button));
    }
    fold_->setVisible(!isEditing() && folded_ > 0);
    shown_ = wanted;

    // The rest is taken from the longest titles.
    int lack = std::max(0, total(wanted) - room);
    QList<int> widths;
    for (QToolButton* button : wanted) {
        widths.append(widthOf(button));
    }
    while (lack > 0 && !widths.isEmpty()) {
        auto widest = std::ranges::max_element(widths);
        if (*widest <= minSegmentWidth) {
            break;
        }
        const int step = std::min({lack, 16, *widest - minSegmentWidth});
        *widest -= step;
        lack -= step;
    }
    int x = Spacing::tight;
    for (qsizetype index = 0; index < wanted.size(); ++index) {
        QToolButton* button = wanted.at(index);
        const QRect place(x, 4, widths.at(index), height() - 8);
        button->setGeometry(QStyle::visualRect(layoutDirection(), rect(), place));
        if (button != fold_) {
            shorten(*button, widths.at(index));
        }
        x += widths.at(index) + separatorWidth;
    }
    QWidget* previous = nullptr;
    for (QToolButton* button : std::as_const(shown_)) {
        if (previous != nullptr) {
            setTabOrder(previous, button);
        }
        previous = button;
    }
    update();
}

void PathBar::resizeEvent(QResizeEvent*)
{
    field_->setGeometry(rect().adjusted(Spacing::tight, 1, -Spacing::tight, -1));
    arrange();
}

void PathBar::paintEvent(QPaintEvent*)
{
    if (isEditing()) {
        return;
    }
    QPainter painter(this);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    for (qsizetype index = 0; index + 1 < shown_.size(); ++index) {
        const QRect button = shown_.at(index)->geometry();
        QRect box(0, 0, 10, 10);
        const int x = isMirrored ? button.left() - separatorWidth / 2 : button.right() + 1 + separatorWidth / 2;
        box.moveCenter({x, height() / 2});
        paintSymbol(painter, isMirrored ? Symbol::chevronLeft : Symbol::chevronRight, box, secondaryText(palette()));
    }
}

void PathBar::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange) {
        arrange();
    }
}

// A click on the blank part of the bar starts editing, as in file managers.
void PathBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        beginEditing();
    }
}
