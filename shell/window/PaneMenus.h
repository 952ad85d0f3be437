#pragma once

#include "foundation/views/panes/PaneCommands.h"

#include <QMenu>

#include <vector>

class DetailArea;
class PaneActions;

/// A line of the object menu.
struct PaneMenuItem {
    std::optional<PaneCommand> command; ///< Unset for a separator.

    bool isSeparator() const { return !command; }
};

/// The lines of the object menu: present commands in their groups, a separator between two groups.
std::vector<PaneMenuItem> objectMenuItems(const PaneCommands& commands);

/// The commands on the objects of the pane in front, under the pane's own title; hidden if the pane has none.
class ObjectMenu final : public QMenu {
    Q_OBJECT

public:
    explicit ObjectMenu(DetailArea& area, QWidget* parent = nullptr);

private:
    void render();

    DetailArea& area_;
};

/// The links that can be copied for what is selected; disabled without any.
class ShareMenu final : public QMenu {
    Q_OBJECT

public:
    explicit ShareMenu(DetailArea& area, QWidget* parent = nullptr);

private:
    void fill();
    void render();

    DetailArea& area_;
};
