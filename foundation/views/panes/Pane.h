#pragma once

#include "foundation/views/panes/PaneCommands.h"

#include <QWidget>

/// The content of the detail area for one selection of the sidebar. The menus and the toolbar act on the pane in front,
/// through the commands it publishes.
class Pane : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    const PaneCommands& commands() const { return commands_; }

    /// Gives the focus to the rows or, where there are none, to the button that helps.
    virtual void takeFocus() { setFocus(Qt::OtherFocusReason); }

Q_SIGNALS:
    /// `commands` has a new value.
    void commandsChanged();

protected:
    void publish(PaneCommands commands);

private:
    PaneCommands commands_;
};
