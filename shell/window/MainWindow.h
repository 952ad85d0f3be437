#pragma once

#include "shell/Application.h"

#include <QMainWindow>
#include <QPointer>

#include <string>

class ActivityLogWindow;
class Banner;
class DetailArea;
class KeySheets;
class PaneToolBar;
class QAction;
class QSplitter;
class QStackedWidget;
class Sidebar;
class TransferDialogs;
class TransfersView;
class WelcomeView;

/// The main window: the sidebar, the selected pane and, below it, the transfers.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(Application& application);
    ~MainWindow() override;

    Sidebar& sidebar() { return *sidebar_; }
    DetailArea& detail() { return *detail_; }
    TransfersView& transfers() { return *transfers_; }
    WelcomeView& welcome() { return *welcome_; }
    KeySheets& keySheets() { return *keySheets_; }

    /// Returns the log's window, which is made on first use.
    ActivityLogWindow& logWindow();

public Q_SLOTS:
    void showActivityLog();
    void setTransfersVisible(bool visible);

Q_SIGNALS:
    /// The user wants to quit, and there is nothing left to ask.
    void quitConfirmed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void buildLayout();
    void buildToolBar();
    void connectBrowser();
    void connectKeys();
    void render();
    void renderNotice();
    void runNotice();
    void askToQuit();
    void leave();
    void focusNextPane(bool forward);
    void restoreSplitters();
    void saveSplitters();
    void showMessage(const QString& title, const QString& text);

    Application& application_;
    KeySheets* keySheets_;
    TransferDialogs* transferDialogs_;
    Sidebar* sidebar_;
    Banner* banner_;
    PaneToolBar* toolBar_;
    DetailArea* detail_;
    TransfersView* transfers_;
    WelcomeView* welcome_;
    QStackedWidget* pages_; ///< The welcome, or everything else.
    QSplitter* columns_;
    QSplitter* rows_;
    QAction* transfersToggle_ = nullptr;
    std::string shownNotice_; ///< Id of the notice in the banner.
    std::string shownAction_;
    QPointer<ActivityLogWindow> logWindow_;
    bool hasStarted_ = false;
    bool isAskingToQuit_ = false;
};
