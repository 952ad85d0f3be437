#pragma once

#include "foundation/views/panes/PaneSlots.h"

#include <QObject>
#include <QPointer>

#include <vector>

class AppContext;
class DetailArea;
class QAction;
class QMenu;
class QWidget;

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

    /// Cut and Select All, which act on the text field or the list with the keyboard.
    QAction* cut() const { return cut_; }
    QAction* selectAll() const { return selectAll_; }

private:
    struct Entry {
        const PaneSlot* slot;
        QAction* action;
    };

    void render();
    void renderEditing();
    void followFocus(QWidget* focused);
    QAction* addEditing(const QString& title, const QKeySequence& keys, const char* slot);
    void renderFind(QAction& action, const PaneCommands& commands);
    void trigger(PaneSlot::Field field);

    DetailArea& area_;
    AppContext& context_;
    std::vector<Entry> entries_;
    QAction* allVersions_;
    QAction* cut_;
    QAction* selectAll_;
    QPointer<QWidget> edited_; ///< The widget that had the keyboard last, menus apart.
};
