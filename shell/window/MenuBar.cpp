#include "shell/window/MenuBar.h"

#include "accounts/views/KeySheets.h"
#include "shell/Application.h"
#include "shell/window/AccountMenu.h"
#include "shell/window/DetailArea.h"
#include "shell/window/HelpWindow.h"
#include "shell/window/PaneActions.h"
#include "shell/window/PaneMenus.h"
#include "shell/window/TransferDialogs.h"

#include <QAction>
#include <QMenu>

using C = PaneCommands;

MenuBar::MenuBar(const MenuParts& parts, QWidget* parent)
    : QMenuBar(parent)
    , parts_(parts)
    , actions_(new PaneActions(parts.detail, *parts.application.context, this))
{
    const auto surfaces = surfaceActions(parts.application, this);
    addFileMenu();
    addEditMenu();
    addViewMenu();
    addGoMenu(surfaces);
    addMenu(new AccountMenu(parts.application, parts.keySheets, surfaces, this));
    addMenu(new ObjectMenu(parts.detail, this));
    addHelpMenu();
    connect(parts.application.context.get(), &Observable::changed, this, &MenuBar::render);
    render();
}

QMenu* MenuBar::addTitledMenu(const QString& title)
{
    auto* const menu = addMenu(title);
    menu->setToolTipsVisible(true);
    return menu;
}

void MenuBar::addFileMenu()
{
    auto* const menu = addTitledMenu(tr("&File"));
    actions_->addTo(*menu, {&C::newItem, &C::newFolder});
    menu->addSeparator();
    actions_->addTo(*menu, {&C::open, &C::quickLook, &C::getInfo, &C::reveal});
    menu->addSeparator();
    actions_->addTo(*menu, {&C::upload, &C::uploadFolder, &C::unfinishedUploads, &C::download});
    menu->addAction(tr("Save Downloads To…"), &parts_.transferDialogs, &TransferDialogs::chooseDownloadFolder);
    menu->addMenu(new ShareMenu(parts_.detail, menu));
    menu->addSeparator();
    actions_->addTo(*menu, {&C::hide, &C::unhide});
    menu->addSeparator();
    actions_->addTo(*menu, {&C::rename, &C::remove});
    menu->addSeparator();
    actions_->addTo(*menu, {&C::refresh});
    menu->addSeparator();
    auto* const quit = menu->addAction(tr("&Quit"), this, parts_.quit);
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    quit->setMenuRole(QAction::QuitRole);
}

void MenuBar::addEditMenu()
{
    auto* const menu = addTitledMenu(tr("&Edit"));
    menu->addAction(actions_->cut());
    actions_->addTo(*menu, {&C::copyItems, &C::copyPaths, &C::paste, &C::moveHere});
    menu->addAction(actions_->selectAll());
    menu->addSeparator();
    actions_->addTo(*menu, {&C::find});
}

void MenuBar::addViewMenu()
{
    auto* const menu = addTitledMenu(tr("&View"));
    menu->addAction(actions_->allVersions());
    menu->addSeparator();
    showTransfers_ = menu->addAction(symbolIcon(Symbol::transfers), QString(), this, [this] {
        auto& context = *parts_.application.context;
        context.setShowingTransfers(!context.isShowingTransfers());
    });
    showTransfers_->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_T);
    auto* const log = menu->addAction(symbolIcon(Symbol::log), tr("Activity Log"), this, parts_.showActivityLog);
    log->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_L);
}

void MenuBar::addGoMenu(const QList<QAction*>& surfaces)
{
    auto* const menu = addTitledMenu(tr("&Go"));
    actions_->addTo(*menu, {&C::back, &C::forward, &C::up});
    menu->addSeparator();
    actions_->addTo(*menu, {&C::editPath});
    menu->addSeparator();
    menu->addActions(surfaces);
}

void MenuBar::addHelpMenu()
{
    auto* const menu = addTitledMenu(tr("&Help"));
    auto* const guide = menu->addAction(tr("Kestrovan Help"), this, [this] { HelpWindow::open(window()); });
    guide->setShortcut(QKeySequence::HelpContents);
    menu->addAction(tr("About Kestrovan"), this, [this] { HelpWindow::showAbout(window()); });
}

void MenuBar::render()
{
    showTransfers_->setText(
        parts_.application.context->isShowingTransfers() ? tr("Hide Transfers") : tr("Show Transfers"));
}
