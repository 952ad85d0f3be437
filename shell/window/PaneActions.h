#pragma once

#include "foundation/views/panes/PaneSlots.h"

#include <QObject>

#include <vector>

class AppContext;
class DetailArea;
class QAction;
class QMenu;

/// The commands of the pane in front as actions of the window: fixed places, titles and shortcuts in the menus,
/// whatever pane is shown. An absent command stays under its fixed title, disabled.
class PaneActions final : public QObject {
    Q_OBJECT

public:
    PaneActions(DetailArea& area, AppContext& context, QObject* parent);

    QAction* action(PaneSlot::Field field) const;
    /// Adds the actions to a menu, in the order given.
    void addTo(QMenu& menu, std::initializer_list<PaneSlot::Field> fields) const;

    QAction* allVersions() const { return allVersions_; }

private:
    struct Entry {
        const PaneSlot* slot;
        QAction* action;
    };

    void render();
    void renderFind(QAction& action, const PaneCommands& commands);
    void trigger(PaneSlot::Field field);

    DetailArea& area_;
    AppContext& context_;
    std::vector<Entry> entries_;
    QAction* allVersions_;
};
