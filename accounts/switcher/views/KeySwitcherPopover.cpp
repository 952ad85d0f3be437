#include "accounts/switcher/views/KeySwitcherPopover.h"

#include "accounts/switcher/views/KeySwitcherCardView.h"
#include "accounts/switcher/views/KeySwitcherList.h"
#include "foundation/QtText.h"
#include "foundation/views/ButtonKeys.h"
#include "foundation/views/Labels.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int narrowestPopover = 340;
constexpr int highest = 600;
constexpr int lowest = 360; ///< Even above a low window.
constexpr int shortestList = 132;

/// A separator from edge to edge.
class Hairline final : public QWidget {
public:
    explicit Hairline(QWidget* parent)
        : QWidget(parent)
    {
        setFixedHeight(1);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), hairline(palette()));
    }
};

/// Says whether a hidden widget keeps its space, so that nothing moves under the pointer.
void keepPlace(QWidget& widget, bool keeps)
{
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(keeps);
    widget.setSizePolicy(policy);
}

/// A command at the foot of the popover.
QToolButton* makeCommand(Symbol symbol, const QString& text, QWidget* parent)
{
    auto* const button = new QToolButton(parent);
    button->setIcon(symbolIcon(symbol));
    button->setText(text);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

KeySwitcherPopover::KeySwitcherPopover(KeySwitcherActions actions, QWidget& header)
    : QFrame(&header, Qt::Popup)
    , actions_(std::move(actions))
    , header_(header)
    , card_(new KeySwitcherCardView(this))
    , cardLine_(new Hairline(this))
    , noteTitle_(makeLabel({}, TextSize::large, QFont::DemiBold, this))
    , note_(makeSecondaryLabel({}, TextSize::normal, this))
    , searchRow_(new QWidget(this))
    , search_(new SearchField(tr("Find a key"), SearchField::Purpose::search, searchRow_))
    , list_(new KeySwitcherList(rows_, this))
    , further_(new QToolButton(this))
    , removeRevoked_(makeCommand(Symbol::trash, {}, this))
    , unlock_(makeCommand(Symbol::lock, tr("Unlock…"), this))
    , addKey_(makeCommand(Symbol::add, tr("Add Key…"), this))
{
    setObjectName(QStringLiteral("keySwitcher"));
    setAccessibleName(tr("Key switcher"));
    setAttribute(Qt::WA_DeleteOnClose);
    // The click on the header that closes the popover must not open it again.
    setAttribute(Qt::WA_NoMouseReplay);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    build();

    connect(card_, &KeySwitcherCardView::infoRequested, this, [this] { act(actions_.info, content_.card->key); });
    connect(card_, &KeySwitcherCardView::retryRequested, this, [this] {
        // The outcome shows here.
        if (actions_.retry)
            actions_.retry();
    });
    connect(card_, &KeySwitcherCardView::menuRequested, this, [this](const QPoint& position) {
        openMenu(content_.card->key, position, true, false, content_.card->canShowInfo);
    });
    connect(list_, &KeySwitcherList::taken, this, &KeySwitcherPopover::take);
    connect(list_, &KeySwitcherList::menuRequested, this, [this](const KeySwitcherRow& row, const QPoint& position) {
        openMenu(row.key, position, false, row.isMissing, row.canShowInfo);
    });
    connect(search_, &QLineEdit::textChanged, this, &KeySwitcherPopover::search);
    connect(search_, &SearchField::left, this, &QWidget::close);
    connect(further_, &QToolButton::clicked, this, [this] {
        auto* const bar = list_->verticalScrollBar();
        bar->setValue(bar->value() + bar->pageStep());
    });
    connect(list_->verticalScrollBar(), &QScrollBar::valueChanged, this, &KeySwitcherPopover::followScroll);
    connect(list_->verticalScrollBar(), &QScrollBar::rangeChanged, this, &KeySwitcherPopover::followScroll);
    connect(removeRevoked_, &QToolButton::clicked, this, [this] { act(actions_.removeRevoked); });
    connect(unlock_, &QToolButton::clicked, this, [this] { act(actions_.unlock); });
    connect(addKey_, &QToolButton::clicked, this, [this] { act(actions_.addKey); });
}

void KeySwitcherPopover::build()
{
    search_->installEventFilter(this);
    list_->setSearchField(search_);
    list_->setFixedHeight(shortestList);
    further_->setVisible(false);
    further_->setIcon(symbolIcon(Symbol::chevronDown));
    further_->setAutoRaise(true);
    further_->setFocusPolicy(Qt::NoFocus);
    further_->setToolTip(tr("Show the keys further down"));
    further_->setAccessibleName(further_->toolTip());
    further_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    noteTitle_->setContentsMargins(Spacing::normal, Spacing::normal, Spacing::normal, 0);
    note_->setContentsMargins(Spacing::normal, Spacing::small, Spacing::normal, Spacing::normal);

    auto* const searching = new QVBoxLayout(searchRow_);
    searching->setContentsMargins(Spacing::small, Spacing::small, Spacing::small, Spacing::tight);
    searching->addWidget(search_);
    auto* const footer = new QVBoxLayout;
    footer->setContentsMargins(Spacing::tight, Spacing::tight, Spacing::tight, Spacing::tight);
    footer->setSpacing(0);
    footer->addWidget(removeRevoked_, 0, Qt::AlignLeft);
    footer->addWidget(unlock_, 0, Qt::AlignLeft);
    footer->addWidget(addKey_, 0, Qt::AlignLeft);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(1, 1, 1, 1);
    column->setSpacing(0);
    column->addWidget(card_);
    column->addWidget(cardLine_);
    column->addWidget(noteTitle_);
    column->addWidget(note_);
    column->addWidget(searchRow_);
    column->addWidget(list_);
    column->addWidget(further_);
    column->addSpacing(Spacing::tight);
    column->addWidget(new Hairline(this));
    column->addLayout(footer);
}

void KeySwitcherPopover::setContent(const KeySwitcherContent& content)
{
    if (content == content_ && isVisible())
        return;
    content_ = content;
    card_->setVisible(content_.card.has_value());
    cardLine_->setVisible(content_.card.has_value());
    if (content_.card)
        card_->setCard(*content_.card);

    const KeySwitcherRow* const chosen = rows_.keyAt(list_->chosen());
    const std::string chosenID = chosen ? chosen->key.keyID : std::string();
    const int scroll = list_->verticalScrollBar()->value();
    rows_.show(content_.groups);
    // When the chosen key is removed, the list would choose its neighbour.
    const QModelIndex stillChosen = chosenID.empty() ? QModelIndex() : rows_.indexOf(chosenID);
    if (list_->chosen() != stillChosen)
        list_->setCurrentIndex(stillChosen);
    searchRow_->setVisible(rows_.keyCount() > searchFrom);
    if (searchRow_->isHidden())
        search_->clear();

    removeRevoked_->setText(toQString(removeRevokedTitle(content_.revokedCount)));
    removeRevoked_->setVisible(content_.revokedCount > 0);
    unlock_->setVisible(content_.unread && content_.unread->canUnlock);
    renderNote();
    if (isVisible())
        fit();
    list_->verticalScrollBar()->setValue(scroll);
}

void KeySwitcherPopover::renderNote()
{
    QString title;
    QString text;
    if (content_.unread) {
        title = tr("Keys Not Read");
        text = toQString(content_.unread->text);
    } else if (!content_.hasKeys) {
        title = tr("No Key");
        text = tr("Add a Backblaze B2 Application Key to get started.");
    } else if (!content_.card) {
        title = tr("Not Connected");
        text = tr("Choose a key.");
    } else if (content_.groups.empty()) {
        text = tr("This is the only key Kestrovan holds. Add another key, or a key from another account, and you can "
                  "switch between them here.");
    }
    noteTitle_->setText(title);
    noteTitle_->setVisible(!title.isEmpty());
    note_->setText(text);
    note_->setVisible(!text.isEmpty());
    const bool isMissed = rows_.rowCount() == 0 && !search_->text().isEmpty();
    list_->setEmptyText(isMissed ? tr("No key matches “%1”.").arg(search_->text()) : QString());
    list_->setVisible(!content_.groups.empty());
}

void KeySwitcherPopover::search(const QString& text)
{
    rows_.setFilter(text);
    renderNote();
    list_->choose(text.isEmpty() ? QModelIndex() : rows_.bestMatch());
    if (text.isEmpty())
        list_->scrollToTop();
    followScroll();
}

void KeySwitcherPopover::openUnderHeader()
{
    setFixedWidth(std::max(narrowestPopover, header_.width()));
    const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
    QPoint place = header_.mapToGlobal(QPoint(0, header_.height() + Spacing::tight));
    if (isRightToLeft)
        place.rx() += header_.width() - width();
    move(place);
    show();
    if (searchRow_->isVisible())
        search_->setFocus(Qt::PopupFocusReason);
    else if (list_->isVisible())
        list_->setFocus(Qt::PopupFocusReason);
    else
        (unlock_->isVisible() ? unlock_ : addKey_)->setFocus(Qt::PopupFocusReason);
}

void KeySwitcherPopover::fit()
{
    // On Wayland the position on the screen is unknown, so the popover keeps to the height of its window.
    const QWidget* const window = header_.window();
    const int below = window->height() - header_.mapTo(window, QPoint(0, header_.height())).y() - Spacing::normal;
    const int ceiling = std::clamp(below, lowest, highest);

    // A change in the card must count now, not when its own layout gets to it.
    card_->layout()->activate();
    searchRow_->layout()->activate();
    layout()->activate();
    const bool hadButton = !further_->isHidden() || further_->sizePolicy().retainSizeWhenHidden();
    const int listed = list_->isHidden() ? 0 : list_->minimumHeight();
    const int all =
        layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width()) : layout()->totalSizeHint().height();
    const int rest = all - listed - (hadButton ? further_->sizeHint().height() : 0);
    const int content = list_->isHidden() ? 0 : list_->contentHeight();
    const int room = std::max(ceiling - rest, shortestList);
    const bool isScrolled = content > room;
    const int button = isScrolled ? further_->sizeHint().height() : 0;
    keepPlace(*further_, isScrolled);
    const int height = std::min(content, room - button);
    if (height > 0)
        list_->setFixedHeight(height);
    setFixedHeight(rest + height + button);
    layout()->activate();
    followScroll();
}

void KeySwitcherPopover::followScroll()
{
    const auto* const bar = list_->verticalScrollBar();
    further_->setVisible(!list_->isHidden() && bar->value() < bar->maximum());
}

void KeySwitcherPopover::take(const KeySwitcherRow& row)
{
    if (!row.isMissing) {
        act(actions_.switchTo, row.key);
        return;
    }
    // There is no key to switch to; the menu offers what remains.
    const QRect place = list_->visualRect(rows_.indexOf(row.key.keyID));
    openMenu(row.key, list_->viewport()->mapToGlobal(place.bottomLeft()), false, true, row.canShowInfo);
}

void KeySwitcherPopover::openMenu(
    const StoredKey& key, const QPoint& position, bool isCurrent, bool isMissing, bool canShowInfo)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("keyMenu"));
    menu->setToolTipsVisible(true);
    if (!isCurrent) {
        auto* const choose = menu->addAction(
            symbolIcon(Symbol::key), tr("Switch to This Key"), this, [this, key] { act(actions_.switchTo, key); });
        choose->setEnabled(!isMissing);
        if (isMissing)
            choose->setToolTip(tr("Backblaze no longer has this key"));
    }
    if (canShowInfo) {
        auto* const info = menu->addAction(
            symbolIcon(Symbol::info), tr("Key Details…"), this, [this, key] { act(actions_.info, key); });
        info->setToolTip(tr("Show this key's details"));
    }
    menu->addAction(tr("Rename…"), this, [this, key] { act(actions_.rename, key); });
    menu->addSeparator();
    auto* const remove = menu->addAction(
        symbolIcon(Symbol::trash), tr("Remove from Kestrovan"), this, [this, key] { act(actions_.remove, key); });
    remove->setToolTip(tr("Removes this key from Kestrovan. It stays at Backblaze."));
    menu->popup(position);
}

void KeySwitcherPopover::act(const std::function<void()>& action)
{
    const auto copy = action;
    close();
    if (copy)
        copy();
}

void KeySwitcherPopover::act(const std::function<void(StoredKey)>& action, const StoredKey& key)
{
    act([action, key] {
        if (action)
            action(key);
    });
}

bool KeySwitcherPopover::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == search_ && event->type() == QEvent::KeyPress)
        return passKeyToList(static_cast<QKeyEvent*>(event));
    return QFrame::eventFilter(watched, event);
}

bool KeySwitcherPopover::passKeyToList(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Down:
    case Qt::Key_PageDown:
        if (list_->isHidden())
            return false;
        list_->setFocus(Qt::OtherFocusReason);
        break;
    case Qt::Key_Up:
        focusPreviousChild();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        break;
    default:
        return false;
    }
    QApplication::sendEvent(list_, event);
    return true;
}

void KeySwitcherPopover::keyPressEvent(QKeyEvent* event)
{
    const bool isLetter = !event->text().isEmpty() && event->text().front().isLetterOrNumber()
        && !event->modifiers().testFlag(Qt::ControlModifier) && !event->modifiers().testFlag(Qt::AltModifier);
    if (pressFocusedButton(*this, *event))
        return;
    if (event->key() == Qt::Key_Escape)
        close();
    else if (isLetter && !list_->hasFocus() && list_->isVisible()) {
        list_->setFocus(Qt::OtherFocusReason);
        QApplication::sendEvent(list_, event);
    } else {
        QFrame::keyPressEvent(event);
    }
}

void KeySwitcherPopover::showEvent(QShowEvent* event)
{
    fit();
    QFrame::showEvent(event);
}

void KeySwitcherPopover::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(controlOutline(palette()));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}
