#include "shell/window/PaneMenus.h"

#include "foundation/views/panes/PaneSlots.h"
#include "shell/window/DetailArea.h"

namespace {

void addGroup(std::vector<PaneMenuItem>& items, const std::vector<PaneCommands::Command>& group)
{
    bool isFirst = true;
    for (const auto& command : group) {
        if (!command)
            continue;
        if (isFirst && !items.empty())
            items.push_back({});
        isFirst = false;
        items.push_back({command});
    }
}

} // namespace

std::vector<PaneMenuItem> objectMenuItems(const PaneCommands& commands)
{
    const auto& c = commands;
    std::vector<PaneMenuItem> items;
    addGroup(items, {c.newObject, c.editObject, c.deleteObject});
    addGroup(items, {c.replicate, c.scanBucket, c.cleanUp});
    addGroup(items, {c.scanAll});
    addGroup(items, {c.checkProgress, c.checkAll});
    addGroup(items, {c.pauseResume, c.removeJob, c.finishMigration});
    addGroup(items, {c.moreObjectCommands.begin(), c.moreObjectCommands.end()});
    return items;
}

ObjectMenu::ObjectMenu(DetailArea& area, QWidget* parent)
    : QMenu(parent)
    , area_(area)
{
    setToolTipsVisible(true);
    connect(&area_, &DetailArea::commandsChanged, this, &ObjectMenu::render);
    // Queued: the line that was chosen runs first.
    connect(this, &QMenu::aboutToHide, this, &ObjectMenu::render, Qt::QueuedConnection);
    render();
}

void ObjectMenu::render()
{
    const auto& commands = area_.commands();
    const auto& title = commands.objectMenuTitle;
    menuAction()->setVisible(title.has_value());
    // An open menu stays as it is.
    if (isVisible())
        return;
    clear();
    if (!title)
        return;
    setTitle(*title);
    for (const auto& item : objectMenuItems(commands)) {
        if (item.isSeparator()) {
            addSeparator();
            continue;
        }
        addCommand(*this, *item.command);
        if (const auto& key = item.command->keyText; !key.isEmpty())
            actions().constLast()->setShortcut(QKeySequence(QStringLiteral("Ctrl+") + key));
    }
}

ShareMenu::ShareMenu(DetailArea& area, QWidget* parent)
    : QMenu(tr("Copy Share Link"), parent)
    , area_(area)
{
    setIcon(symbolIcon(Symbol::link));
    setToolTipsVisible(true);
    connect(&area_, &DetailArea::commandsChanged, this, &ShareMenu::render);
    connect(this, &QMenu::aboutToShow, this, &ShareMenu::fill);
    render();
}

void ShareMenu::fill()
{
    clear();
    for (const auto& link : area_.commands().shareLinks)
        addCommand(*this, link);
}

void ShareMenu::render()
{
    menuAction()->setEnabled(!area_.commands().shareLinks.empty());
}
