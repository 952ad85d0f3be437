#include "foundation/views/panes/CommandButton.h"

CommandButton::CommandButton(PaneSlot::Field field, QWidget* parent)
    : QToolButton(parent)
    , field_(field)
{
    const auto& slot = paneSlot(field);
    if (slot.symbol)
        setIcon(symbolIcon(*slot.symbol));
    setIconSize(QSize(16, 16));
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    setText(slot.title);
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    connect(this, &QToolButton::clicked, this, [this] {
        if (const auto run = run_)
            run();
    });
}

void CommandButton::showCommands(const PaneCommands& commands)
{
    const auto& command = commands.*field_;
    setEnabled(command && command->isEnabled);
    run_ = command ? command->run : nullptr;
    if (!command)
        return;
    const auto shortcuts = shortcutsIn(commands, paneSlot(field_));
    const QString help = command->help.isEmpty() ? command->title : command->help;
    setAccessibleName(command->title);
    setAccessibleDescription(help);
    setToolTip(
        shortcuts.isEmpty() ? help : tr("%1 (%2)").arg(help, shortcuts.front().toString(QKeySequence::NativeText)));
}
