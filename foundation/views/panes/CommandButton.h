#pragma once

#include "foundation/views/panes/PaneSlots.h"

#include <QToolButton>

#include <functional>

/// A button for one command of a pane, inside the pane: its symbol alone, with words and shortcut as tooltip.
class CommandButton final : public QToolButton {
    Q_OBJECT

public:
    explicit CommandButton(PaneSlot::Field field, QWidget* parent = nullptr);

    /// Takes its command from the commands the pane publishes; an absent one disables the button.
    void showCommands(const PaneCommands& commands);

private:
    PaneSlot::Field field_;
    std::function<void()> run_;
};
