#include "shell/window/PaneActions.h"

#include "shell/AppContext.h"
#include "shell/window/DetailArea.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>

#include <algorithm>

namespace {

/// Has the widget text of its own to copy from and paste into?
bool isTextField(const QWidget* widget)
{
    return qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QPlainTextEdit*>(widget);
}

} // namespace

PaneActions::PaneActions(DetailArea& area, AppContext& context, QObject* parent)
    : QObject(parent)
    , area_(area)
    , context_(context)
    , allVersions_(new QAction(tr("All Versions"), this))
    , cut_(addEditing(tr("Cut"), QKeySequence::Cut, "cut"))
    , selectAll_(addEditing(tr("Select All"), QKeySequence::SelectAll, "selectAll"))
{
    for (const auto& slot : paneSlots()) {
        auto* const action = new QAction(slot.title, this);
        if (slot.symbol)
            action->setIcon(symbolIcon(*slot.symbol));
        if (slot.needsFocus) {
            action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
            area_.addAction(action);
        }
        connect(action, &QAction::triggered, this, [this, field = slot.command] { trigger(field); });
        entries_.push_back({&slot, action});
    }
    allVersions_->setCheckable(true);
    allVersions_->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_V);
    connect(allVersions_, &QAction::triggered, this, [this](bool isOn) {
        if (const auto toggle = area_.commands().allVersions)
            toggle->toggle(isOn);
    });
    connect(&area_, &DetailArea::commandsChanged, this, &PaneActions::render);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) { followFocus(focused); });
    render();
}

QAction* PaneActions::action(PaneSlot::Field field) const
{
    return std::ranges::find(entries_, field, [](const Entry& entry) { return entry.slot->command; })->action;
}

void PaneActions::addTo(QMenu& menu, std::initializer_list<PaneSlot::Field> fields) const
{
    for (const auto field : fields)
        menu.addAction(action(field));
}

void PaneActions::render()
{
    const auto& commands = area_.commands();
    for (const auto& [slot, action] : entries_) {
        if (const auto keys = shortcutsIn(commands, *slot); action->shortcuts() != keys)
            action->setShortcuts(keys);
        renderSlot(*action, *slot);
        if (const auto& command = commands.*slot->command) {
            renderCommand(*action, *command);
            continue;
        }
        action->setEnabled(false);
    }
    renderFind(*action(&PaneCommands::find), commands);
    renderEditing();
    const auto& toggle = commands.allVersions;
    allVersions_->setText(toggle ? toggle->title : tr("All Versions"));
    allVersions_->setEnabled(toggle && toggle->isEnabled);
    allVersions_->setChecked(toggle && toggle->isOn);
}

QAction* PaneActions::addEditing(const QString& title, const QKeySequence& keys, const char* slot)
{
    auto* const action = new QAction(title, this);
    action->setShortcut(keys);
    // Text fields and lists handle the keys themselves.
    action->setShortcutContext(Qt::WidgetShortcut);
    connect(action, &QAction::triggered, this, [this, slot] {
        if (edited_)
            QMetaObject::invokeMethod(edited_, slot);
    });
    return action;
}

void PaneActions::followFocus(QWidget* focused)
{
    // An open menu leaves the choice to the widget that had the keyboard before.
    if (!focused || qobject_cast<QMenu*>(focused) || qobject_cast<QMenuBar*>(focused))
        return;
    edited_ = focused;
    render();
}

// In a text field Copy and Paste are about its text, whatever the pane offers.
void PaneActions::renderEditing()
{
    const bool isField = isTextField(edited_);
    const auto* const line = qobject_cast<const QLineEdit*>(edited_.data());
    const bool isWritable = isField && !(line && line->isReadOnly());
    cut_->setEnabled(isWritable);
    selectAll_->setEnabled(isField || qobject_cast<QAbstractItemView*>(edited_.data()));
    if (!isField)
        return;
    for (const auto field : {&PaneCommands::copyItems, &PaneCommands::paste}) {
        auto* const action = this->action(field);
        renderSlot(*action, paneSlot(field));
        action->setEnabled(field == &PaneCommands::copyItems || isWritable);
    }
}

// Where the pane has nothing to find in, the whole account is searched.
void PaneActions::renderFind(QAction& action, const PaneCommands& commands)
{
    if (!commands.find && surfaceOf(AccountSurface::search))
        action.setEnabled(true);
}

void PaneActions::trigger(PaneSlot::Field field)
{
    const bool isEditing = field == &PaneCommands::copyItems || field == &PaneCommands::paste;
    if (isEditing && isTextField(edited_)) {
        QMetaObject::invokeMethod(edited_, field == &PaneCommands::paste ? "paste" : "copy");
        return;
    }
    // A copy: the command may bring another pane to the front.
    if (const auto command = area_.commands().*field)
        command->run();
    else if (field == &PaneCommands::find && surfaceOf(AccountSurface::search))
        context_.request(AccountSurface::search);
}
