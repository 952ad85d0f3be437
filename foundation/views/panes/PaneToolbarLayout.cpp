#include "foundation/views/panes/PaneToolbarLayout.h"

#include "foundation/views/panes/PaneSlots.h"

#include <QCoreApplication>

#include <utility>

namespace PaneToolbarLayout {

namespace {

void add(std::vector<Item>& items, const PaneCommands& commands, Slot slot, PaneSlot::Field field)
{
    if (!(commands.*field))
        return;
    auto command = *(commands.*field);
    const auto& place = paneSlot(field);
    if (!command.symbol)
        command.symbol = place.symbol;
    items.push_back({.slot = slot, .command = std::move(command), .shortcut = shortcutsIn(commands, place).value(0)});
}

void addUpload(std::vector<Item>& items, const PaneCommands& commands)
{
    add(items, commands, Slot::upload, &PaneCommands::upload);
    if (commands.upload && commands.uploadFolder)
        items.back().menu = {
            withSlot(commands, &PaneCommands::upload), withSlot(commands, &PaneCommands::uploadFolder)};
}

void addShare(std::vector<Item>& items, const std::vector<PaneCommand>& links)
{
    if (links.empty())
        return;
    PaneCommand share = links.front();
    share.title = QCoreApplication::translate("PaneToolbarLayout", "Copy Share Link");
    share.symbol = Symbol::link;
    items.push_back({.slot = Slot::share,
        .command = std::move(share),
        .menu = links.size() > 1 ? links : std::vector<PaneCommand>()});
}

} // namespace

std::vector<Item> items(const PaneCommands& commands)
{
    using C = PaneCommands;
    std::vector<Item> items;
    add(items, commands, Slot::newItem, &C::newItem);
    add(items, commands, Slot::newFolder, &C::newFolder);
    addUpload(items, commands);
    add(items, commands, Slot::download, &C::download);
    add(items, commands, Slot::hide, &C::hide);
    add(items, commands, Slot::unhide, &C::unhide);
    add(items, commands, Slot::remove, &C::remove);
    addShare(items, commands.shareLinks);
    add(items, commands, Slot::quickLook, &C::quickLook);
    add(items, commands, Slot::getInfo, &C::getInfo);
    add(items, commands, Slot::reveal, &C::reveal);
    for (const auto& command : commands.moreObjectCommands) {
        if (command.symbol)
            items.push_back({.slot = Slot::more, .command = command});
    }
    return items;
}

std::vector<Item> paneItems(const PaneCommands& commands)
{
    std::vector<Item> items;
    add(items, commands, Slot::unfinishedUploads, &PaneCommands::unfinishedUploads);
    add(items, commands, Slot::cleanUp, &PaneCommands::cleanUp);
    add(items, commands, Slot::refresh, &PaneCommands::refresh);
    return items;
}

} // namespace PaneToolbarLayout
