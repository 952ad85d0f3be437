#pragma once

#include "foundation/views/panes/PaneCommands.h"

#include <QKeySequence>
#include <QList>

#include <span>

class QAction;
class QMenu;

/// The lasting place of a command in the menus. One table gives the shortcuts of all panes' commands, so no two can
/// share one.
struct PaneSlot {
    using Field = PaneCommands::Command PaneCommands::*;

    Field command = nullptr;
    QString title; ///< In the menus while no pane offers the command.
    std::optional<Symbol> symbol;
    QList<QKeySequence> shortcuts;
    /// The shortcuts work only while the keyboard is in the pane: Del in the list of transfers is not about files.
    bool needsFocus = false;
};

/// Every slot that has a fixed place in the menus.
std::span<const PaneSlot> paneSlots();

/// The slot of a command; an empty one for those that only the object menu shows.
const PaneSlot& paneSlot(PaneSlot::Field command);

/// The shortcuts of a command among the commands of a pane. Del hides; it deletes where nothing can be hidden.
QList<QKeySequence> shortcutsIn(const PaneCommands& commands, const PaneSlot& slot);

/// Gives an action the title and the symbol of its slot.
void renderSlot(QAction& action, const PaneSlot& slot);

/// Copies title, state, help and symbol, if it has one, of a command to an action.
void renderCommand(QAction& action, const PaneCommand& command);

/// Adds a command to a context menu, in the words of the menus and with its shortcut; does nothing for an absent one.
void addCommand(QMenu& menu, const PaneCommands& commands, PaneSlot::Field field);
void addCommand(QMenu& menu, const PaneCommand& command);
/// Returns a command with the symbol and, to be shown, the shortcut of its slot, for a second line in another menu.
PaneCommand withSlot(const PaneCommands& commands, PaneSlot::Field field);

void addToggle(QMenu& menu, const PaneToggle& toggle);
