#include "shell/window/PaneActions.h"

#include "shell/AppContext.h"
#include "shell/window/DetailArea.h"

#include <QAction>
#include <QMenu>

#include <algorithm>

PaneActions::PaneActions(DetailArea& area, AppContext& context, QObject* parent)
    : QObject(parent)
    , area_(area)
    , context_(context)
    , allVersions_(new QAction(tr("All Versions"), this))
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
        action->setShortcuts(shortcutsIn(commands, *slot));
        if (const auto& command = commands.*slot->command) {
            renderCommand(*action, *command);
            continue;
        }
        action->setText(slot->title);
        action->setToolTip(slot->title);
        action->setEnabled(false);
    }
    renderFind(*action(&PaneCommands::find), commands);
    const auto& toggle = commands.allVersions;
    allVersions_->setText(toggle ? toggle->title : tr("All Versions"));
    allVersions_->setEnabled(toggle && toggle->isEnabled);
    allVersions_->setChecked(toggle && toggle->isOn);
}

// Where the pane has nothing to find in, the whole account is searched.
void PaneActions::renderFind(QAction& action, const PaneCommands& commands)
{
    if (!commands.find && surfaceOf(AccountSurface::search))
        action.setEnabled(true);
}

void PaneActions::trigger(PaneSlot::Field field)
{
    // A copy: the command may bring another pane to the front.
    if (const auto command = area_.commands().*field)
        command->run();
    else if (field == &PaneCommands::find && surfaceOf(AccountSurface::search))
        context_.request(AccountSurface::search);
}
