#include "foundation/views/panes/PaneToolBar.h"

#include "foundation/views/panes/PaneSlots.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"

#include <QAction>
#include <QActionGroup>
#include <QContextMenuEvent>
#include <QLayout>
#include <QMenu>
#include <QPainter>
#include <QToolButton>

#include <algorithm>
#include <array>
#include <utility>

namespace {

using PaneToolbarLayout::Item;
using PaneToolbarLayout::Slot;

constexpr std::array labelsTexts = {
    std::string_view("titleAndIcon"), std::string_view("titleOnly"), std::string_view("iconOnly")};

/// The property of a button's action that holds the shortcut of the menu's action, for the tooltip.
constexpr const char* shortcutProperty = "menuShortcut";

/// Commands that lose their titles first: their symbols say enough.
bool isLesser(Slot slot)
{
    switch (slot) {
    case Slot::quickLook:
    case Slot::getInfo:
    case Slot::reveal:
    case Slot::unfinishedUploads:
    case Slot::refresh:
        return true;
    default:
        return false;
    }
}

} // namespace

std::string_view PaneToolBar::labelsText(Labels labels)
{
    return labelsTexts.at(static_cast<std::size_t>(labels));
}

PaneToolBar::Labels PaneToolBar::labelsFrom(std::string_view text)
{
    const auto found = std::ranges::find(labelsTexts, text);
    return found == labelsTexts.end() ? Labels::titleAndIcon : static_cast<Labels>(found - labelsTexts.begin());
}

PaneToolBar::PaneToolBar(QWidget* parent)
    : QToolBar(parent)
{
    setMovable(false);
    setFloatable(false);
    setIconSize(QSize(16, 16));
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toggleViewAction()->setVisible(false);
}

void PaneToolBar::showCommands(const PaneCommands& commands)
{
    auto items = PaneToolbarLayout::items(commands);
    const std::size_t spacerBefore = items.size();
    std::ranges::move(PaneToolbarLayout::paneItems(commands), std::back_inserter(items));
    const bool isSame =
        spacerBefore == spacerBefore_ && std::ranges::equal(entries_, items, [](const Entry& entry, const Item& item) {
            return entry.slot == item.slot && entry.hasMenu == !item.menu.empty();
        });
    if (!isSame || spacers_.empty())
        rebuild(items, spacerBefore);
    for (std::size_t i = 0; i < items.size(); ++i)
        render(entries_[i], items[i]);
    fit();
}

std::optional<Slot> PaneToolBar::focusedSlot() const
{
    for (const auto& entry : entries_) {
        if (const auto* const button = widgetForAction(entry.action); button && button->hasFocus())
            return entry.slot;
    }
    return std::nullopt;
}

void PaneToolBar::rebuild(const std::vector<Item>& items, std::size_t spacerBefore)
{
    const auto focused = focusedSlot();
    // The command that is running now may be one of them.
    const auto drop = [this](QAction* action) {
        removeAction(action);
        action->deleteLater();
    };
    std::ranges::for_each(std::exchange(spacers_, {}), drop);
    for (const auto& entry : std::exchange(entries_, {})) {
        drop(entry.action);
        if (entry.menu)
            entry.menu->deleteLater();
    }
    spacerBefore_ = spacerBefore;
    QAction* const end = atEnd_.empty() ? nullptr : atEnd_.front();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i == spacerBefore)
            addSpacer(end);
        addEntry(items[i]);
    }
    if (spacerBefore == items.size())
        addSpacer(end);
    addGap(end);
    const auto again =
        std::ranges::find(entries_, focused, [](const Entry& entry) { return std::optional(entry.slot); });
    if (focused && again != entries_.end())
        widgetForAction(again->action)->setFocus(Qt::OtherFocusReason);
}

void PaneToolBar::addEntry(const Item& item)
{
    Entry entry{.slot = item.slot, .hasMenu = !item.menu.empty(), .action = new QAction(this)};
    insertAction(atEnd_.empty() ? nullptr : atEnd_.front(), entry.action);
    if (entry.hasMenu) {
        entry.menu = new QMenu(this);
        entry.menu->setToolTipsVisible(true);
        auto* const button = qobject_cast<QToolButton*>(widgetForAction(entry.action));
        button->setMenu(entry.menu);
        button->setPopupMode(item.slot == Slot::share ? QToolButton::InstantPopup : QToolButton::MenuButtonPopup);
    }
    const auto index = entries_.size();
    keepDressed(entry.action);
    connect(entry.action, &QAction::triggered, this, [this, index] {
        // A copy: the command may rebuild the toolbar.
        if (const auto run = index < entries_.size() ? entries_[index].run : nullptr)
            run();
    });
    if (entry.menu) {
        // Filled when it opens, so that it stays as it is while it is open.
        connect(entry.menu, &QMenu::aboutToShow, this, [this, index, menu = entry.menu] {
            menu->clear();
            for (const auto& command : entries_.at(index).offered)
                addCommand(*menu, command);
        });
    }
    entries_.push_back(std::move(entry));
}

void PaneToolBar::addSpacer(QAction* before)
{
    auto* const spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    spacers_.push_back(insertWidget(before, spacer));
}

void PaneToolBar::addGap(QAction* before)
{
    auto* const gap = new QWidget(this);
    gap->setFixedWidth(Spacing::normal);
    spacers_.push_back(insertWidget(before, gap));
}

void PaneToolBar::render(Entry& entry, const Item& item)
{
    entry.run = item.command.run;
    entry.action->setProperty(shortcutProperty, item.shortcut.toString(QKeySequence::NativeText));
    renderCommand(*entry.action, item.command);
    dress(entry.action);
    if (!entry.menu)
        return;
    entry.offered = item.menu;
    // A button whose first command is off may still offer another.
    if (!item.command.isEnabled)
        entry.action->setEnabled(std::ranges::any_of(item.menu, &PaneCommand::isEnabled));
}

void PaneToolBar::addAtEnd(QAction* action)
{
    atEnd_.push_back(action);
    addAction(action);
    keepDressed(action);
}

void PaneToolBar::setLabels(Labels labels)
{
    labels_ = labels;
    fit();
}

void PaneToolBar::dress(QAction* action)
{
    auto* const button = qobject_cast<QToolButton*>(widgetForAction(action));
    if (!button)
        return;
    QString shortcut = action->property(shortcutProperty).toString();
    if (shortcut.isEmpty())
        shortcut = action->shortcut().toString(QKeySequence::NativeText);
    button->setToolTip(shortcut.isEmpty() ? action->toolTip() : tr("%1 (%2)").arg(action->toolTip(), shortcut));
    button->setAccessibleName(action->text().remove(u'&'));
    button->setAccessibleDescription(action->toolTip());
}

void PaneToolBar::keepDressed(QAction* action)
{
    // Toolbars leave their buttons out of the tab order by default; every command is reached by keyboard.
    if (auto* const button = qobject_cast<QToolButton*>(widgetForAction(action)))
        button->setFocusPolicy(Qt::TabFocus);
    // The button takes over the action's plain tooltip first.
    connect(action, &QAction::changed, this, [this, action] { dress(action); });
    dress(action);
}

void PaneToolBar::contextMenuEvent(QContextMenuEvent* event)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    auto* const group = new QActionGroup(menu);
    const auto add = [&](const QString& title, Labels labels) {
        auto* const action = menu->addAction(title, this, [this, labels] {
            setLabels(labels);
            Q_EMIT labelsChosen(labels);
        });
        action->setCheckable(true);
        action->setChecked(labels_ == labels);
        group->addAction(action);
    };
    add(tr("Icon and Text"), Labels::titleAndIcon);
    add(tr("Icon Only"), Labels::iconOnly);
    add(tr("Text Only"), Labels::titleOnly);
    menu->popup(event->globalPos());
}

void PaneToolBar::resizeEvent(QResizeEvent* event)
{
    QToolBar::resizeEvent(event);
    fit();
}

int PaneToolBar::widthWith(bool hasTitles, bool hasLesserTitles) const
{
    constexpr int buttonWidth = 28;
    constexpr int titleGap = 10;
    constexpr int arrowWidth = 16;
    const auto margins = layout()->contentsMargins();
    int width = margins.left() + margins.right();
    const auto add = [&](const QAction& action, bool hasTitle, bool hasMenu) {
        width += layout()->spacing() + buttonWidth + (hasMenu ? arrowWidth : 0);
        if (hasTitle)
            width += fontMetrics().horizontalAdvance(action.iconText()) + titleGap;
    };
    for (const auto& entry : entries_)
        add(*entry.action, isLesser(entry.slot) ? hasLesserTitles : hasTitles, entry.hasMenu);
    for (const auto* const action : atEnd_)
        add(*action, hasTitles, false);
    return width;
}

int PaneToolBar::widthWithTitles() const
{
    return widthWith(true, true);
}

void PaneToolBar::fit()
{
    auto style = Qt::ToolButtonTextBesideIcon;
    bool hasLesserTitles = true;
    if (labels_ == Labels::titleOnly) {
        style = Qt::ToolButtonTextOnly;
    } else if (labels_ == Labels::iconOnly || widthWith(true, false) > width()) {
        style = Qt::ToolButtonIconOnly;
    } else {
        hasLesserTitles = widthWith(true, true) <= width();
    }
    for (const auto& entry : entries_) {
        const bool hasTitle = hasLesserTitles || !isLesser(entry.slot);
        const auto priority = hasTitle ? QAction::NormalPriority : QAction::LowPriority;
        if (entry.action->priority() != priority)
            entry.action->setPriority(priority);
    }
    if (style != toolButtonStyle())
        setToolButtonStyle(style);
}

void PaneToolBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintHairline(painter, QRect(0, height() - 1, width(), 1), palette());
}
