#pragma once

#include <QAction>
#include <QList>
#include <QObject>

struct KeyRow;
struct KeysPane;

/// What the pane of the account's keys offers: one action each for toolbar, menus and keyboard.
///
/// An action that is off says why in its tooltip.
class KeysCommands final : public QObject {
    Q_OBJECT

public:
    explicit KeysCommands(QObject* parent);

    QAction* const newKey;
    QAction* const remove;
    QAction* const refresh;
    QAction* const details;
    QAction* const switchTo;
    QAction* const add;
    QAction* const rename;
    QAction* const takeName;
    QAction* const copyID;

    QList<QAction*> all() const;

    /// Switches each on or off.
    ///
    /// @param selected  how many keys are selected.
    /// @param row       the one key that a command would be for, or null.
    void update(const KeysPane& pane, int selected, const KeyRow* row);

    /// While another pane is shown, the commands are in no menu and their keys belong to that pane.
    void setVisible(bool visible);
};
