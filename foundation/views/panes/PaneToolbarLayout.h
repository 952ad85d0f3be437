#pragma once

#include "foundation/views/panes/PaneCommands.h"

#include <QKeySequence>

#include <optional>
#include <vector>

/// Which commands of a pane the toolbar shows, and in which order. Functions of values.
namespace PaneToolbarLayout {

enum class Slot {
    newItem,
    newFolder,
    upload,
    download,
    hide,
    unhide,
    remove,
    share,
    quickLook,
    getInfo,
    reveal,
    more, ///< A further command of the pane's objects that has a symbol.
    unfinishedUploads,
    cleanUp,
    refresh,
};

struct Item {
    Slot slot = Slot::newItem;
    PaneCommand command;                ///< With the slot's symbol, unless it has one of its own.
    std::vector<PaneCommand> menu = {}; ///< What the button's menu offers; empty for a plain button.
    QKeySequence shortcut = {};         ///< The first one of the menu's action.
};

/// The pane's commands on what it shows, in the order of the slots.
std::vector<Item> items(const PaneCommands& commands);

/// The commands on the pane as a whole, which stand apart: clean up, refresh.
std::vector<Item> paneItems(const PaneCommands& commands);

} // namespace PaneToolbarLayout
