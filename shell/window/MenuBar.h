#pragma once

#include <QMenuBar>

#include <functional>

class Application;
class DetailArea;
class KeySheets;
class PaneActions;
class QMenu;
class TransferDialogs;

/// The objects that the menus act on; all of them outlive the menus.
struct MenuParts {
    Application& application;
    DetailArea& detail;
    KeySheets& keySheets;
    TransferDialogs& transferDialogs;
    std::function<void()> showActivityLog;
    std::function<void()> quit;
};

/// The menus of the main window. They keep their shape from pane to pane; only the menu of the pane's objects comes and
/// goes.
class MenuBar final : public QMenuBar {
    Q_OBJECT

public:
    MenuBar(const MenuParts& parts, QWidget* parent);

    /// The commands of the pane in front, as actions with lasting places.
    PaneActions& paneActions() { return *actions_; }

private:
    QMenu* addTitledMenu(const QString& title);
    void addFileMenu();
    void addEditMenu();
    void addViewMenu();
    void addGoMenu(const QList<QAction*>& surfaces);
    void addHelpMenu();
    void render();

    MenuParts parts_;
    PaneActions* actions_;
    QAction* showTransfers_ = nullptr;
};
