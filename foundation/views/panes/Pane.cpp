#include "foundation/views/panes/Pane.h"

void Pane::publish(PaneCommands commands)
{
    commands_ = std::move(commands);
    Q_EMIT commandsChanged();
}
