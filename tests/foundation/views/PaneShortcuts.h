#pragma once

#include "foundation/views/panes/Pane.h"
#include "foundation/views/panes/PaneSlots.h"

#include <QShortcut>

/// The shortcuts that the main window's menus give the commands of a pane, for a pane without a window around it.
inline void giveShortcuts(Pane& pane)
{
    for (const auto& slot : paneSlots()) {
        for (const auto& keys : shortcutsIn(pane.commands(), slot)) {
            auto* const shortcut = new QShortcut(keys, &pane);
            shortcut->setContext(Qt::WidgetWithChildrenShortcut);
            QObject::connect(shortcut, &QShortcut::activated, &pane, [&pane, field = slot.command] {
                if (const auto command = pane.commands().*field; command && command->isEnabled)
                    command->run();
            });
        }
    }
}
