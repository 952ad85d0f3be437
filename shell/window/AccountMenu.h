#pragma once

#include <QList>
#include <QMenu>

#include <functional>

class Application;
class KeySheets;
class QAction;

/// The keys to choose from, the account's panes, and what is done to stored keys. Filled each time it opens, since it
/// depends on the keys that are stored at that moment.
class AccountMenu final : public QMenu {
    Q_OBJECT

public:
    /// @param surfaces  the actions of the account's panes, as `surfaceActions` makes them.
    AccountMenu(Application& application, KeySheets& keySheets, QList<QAction*> surfaces, QWidget* parent = nullptr);

private:
    void fill();
    void addKeys();
    void addKeyCommands();
    void addStoreCommands();
    void add(const QString& text, bool isOffered, const QString& reason, std::function<void()> run);

    Application& application_;
    KeySheets& keySheets_;
    QList<QAction*> surfaces_;
};

/// The keys to choose from, grouped by account, the one in use checked; at the end a line that adds one.
void fillKeyMenu(QMenu& menu, Application& application, KeySheets& keySheets);

/// One action for each surface, with its shortcut, and a separator between groups; they ask the main window for it.
QList<QAction*> surfaceActions(Application& application, QObject* parent);
