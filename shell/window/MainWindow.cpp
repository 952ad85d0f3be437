#include "shell/window/MainWindow.h"

#include "accounts/keys/views/KeysCommands.h"
#include "accounts/keys/views/KeysView.h"
#include "accounts/views/KeySheets.h"
#include "browser/views/BrowserCommands.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/LocalPath.h"
#include "foundation/QtText.h"
#include "foundation/SettingsKeys.h"
#include "foundation/views/ButtonKeys.h"
#include "foundation/views/Sheet.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/log/ActivityLogWindow.h"
#include "shell/window/DetailArea.h"
#include "shell/window/HelpWindow.h"
#include "shell/window/Sidebar.h"
#include "shell/window/StagedWindow.h"
#include "shell/window/TransferDialogs.h"
#include "shell/window/WelcomeView.h"
#include "transfers/QuitQuestion.h"
#include "transfers/views/TransfersView.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

constexpr std::string_view columnsKey = "table.window.columns";
constexpr std::string_view rowsKey = "table.window.rows";

} // namespace

MainWindow::MainWindow(Application& application)
    : application_(application)
    , sidebar_(new Sidebar(*application.root, *application.context))
    , banner_(new Banner)
    , detail_(new DetailArea(*application.root, *application.settings))
    , transfers_(new TransfersView(*application.queue))
    , welcome_(new WelcomeView)
    , pages_(new QStackedWidget(this))
    , keySheets_(new KeySheets(
          application.root->storedKeys, [root = application.root.get()] { return *root->buckets.buckets; }, *this))
    , transferDialogs_(new TransferDialogs(application, *this))
    , columns_(new QSplitter(Qt::Horizontal, this))
    , rows_(new QSplitter(Qt::Vertical))
{
    setWindowTitle(QStringLiteral("Kestrovan"));
    setMinimumSize(860, 560);
    buildLayout();
    buildMenus();
    new StagedWindow(*this, *application.settings, std::string(SettingsKeys::windowFrame), QSize(1180, 760));
    restoreSplitters();
    connect(application.root.get(), &Observable::changed, this, &MainWindow::render);
    connect(application.context.get(), &Observable::changed, this, &MainWindow::render);
    application.context->addKey = [sheets = QPointer(keySheets_)]() -> Task<> {
        if (sheets)
            sheets->addKey();
        co_return;
    };
    connect(application.context.get(), &Observable::changed, this,
        [this, seen = *application.context->accountRenameTick]() mutable {
            const int tick = *application_.context->accountRenameTick;
            const auto session = *application_.root->keyStore.session;
            if (std::exchange(seen, tick) != tick && session)
                keySheets_->renameAccount(session->authorization.accountID);
        });
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive && *application_.root->keyStore.isStarted)
            application_.root->storedKeys.reload();
    });
    connect(banner_, &Banner::actionTriggered, this, [this] {
        const auto notice = application_.root->notice();
        if (notice && notice->action == RootNotice::Action::stopWaiting)
            application_.root->storedKeys.stopWaiting();
        else
            application_.root->tryAgain();
    });
    connect(banner_, &Banner::closed, this, [this] { application_.root->dismissNotice(); });
    render();
}

MainWindow::~MainWindow()
{
    saveSplitters();
    delete logWindow_;
}

void MainWindow::buildLayout()
{
    rows_->addWidget(detail_);
    rows_->addWidget(transfers_);
    rows_->setStretchFactor(0, 1);
    rows_->setStretchFactor(1, 0);
    rows_->setChildrenCollapsible(false);
    transfers_->setMinimumHeight(120);

    sidebar_->setMinimumWidth(220);
    sidebar_->setMaximumWidth(340);
    columns_->addWidget(sidebar_);
    columns_->addWidget(rows_);
    columns_->setStretchFactor(0, 0);
    columns_->setStretchFactor(1, 1);
    columns_->setChildrenCollapsible(false);
    columns_->setHandleWidth(1);
    rows_->setHandleWidth(1);
    pages_->addWidget(columns_);
    pages_->addWidget(welcome_);
    // Over the welcome too: what it says of keys matters most where none are shown.
    auto* const everything = new QWidget;
    auto* const column = new QVBoxLayout(everything);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    setCentralWidget(everything);
    connect(welcome_, &WelcomeView::connectRequested, keySheets_, &KeySheets::addKey);
    connect(detail_, &DetailArea::addKeyRequested, keySheets_, &KeySheets::addKey);
    connect(detail_, &DetailArea::unlockRequested, keySheets_, &KeySheets::unlockStore);

    auto& browser = detail_->browser();
    connect(&browser, &ObjectBrowserView::uploadFilesDialogRequested, transferDialogs_,
        &TransferDialogs::chooseFilesToUpload);
    connect(&browser, &ObjectBrowserView::uploadFolderDialogRequested, transferDialogs_,
        &TransferDialogs::chooseFolderToUpload);
    connect(&browser, &ObjectBrowserView::uploadRequested, this, &MainWindow::upload);
    connect(&browser, &ObjectBrowserView::unfinishedUploadsRequested, transferDialogs_,
        &TransferDialogs::showUnfinishedUploads);
    connect(transferDialogs_, &TransferDialogs::uploadChosen, this,
        [this](const QList<QUrl>& urls) { detail_->browser().takeFiles(urls); });
    connect(transferDialogs_, &TransferDialogs::resumed, this, [this] { setTransfersVisible(true); });
    connect(&browser, &ObjectBrowserView::downloadRequested, this, &MainWindow::download);
    connect(&detail_->keys(), &KeysView::switchRequested, this,
        [this](const QString& keyID) { application_.root->switchTo(fromQString(keyID)); });
    connect(&detail_->keys(), &KeysView::addRequested, keySheets_, [this](const QString& keyID, const QString& name) {
        keySheets_->addKnownKey({fromQString(keyID), fromQString(name)});
    });
    connect(sidebar_, &Sidebar::addKeyRequested, keySheets_, &KeySheets::addKey);
    connect(sidebar_, &Sidebar::unlockRequested, keySheets_, &KeySheets::unlockStore);
    connect(sidebar_, &Sidebar::keyDetailsRequested, keySheets_, &KeySheets::inspectKey);
    connect(sidebar_, &Sidebar::renameKeyRequested, keySheets_, &KeySheets::renameKey);
    connect(sidebar_, &Sidebar::removeKeyRequested, keySheets_, &KeySheets::removeKey);
    connect(sidebar_, &Sidebar::removeRevokedKeysRequested, keySheets_, &KeySheets::removeRevokedKeys);
    connect(&detail_->keys(), &KeysView::renameSheetRequested, keySheets_, &KeySheets::renameKey);
    connect(&detail_->keys(), &KeysView::renameRequested, this, [this](const StoredKey& key, const QString& name) {
        application_.root->storedKeys.rename(key, fromQString(name));
    });
    connect(transfers_, &TransfersView::filesDropped, this, [this](const QList<QUrl>& urls) {
        if (application_.root->detailState().kind == DetailState::Kind::browser)
            detail_->browser().takeFiles(urls);
        else
            showMessage(tr("Select a Bucket"), tr("Nothing was uploaded. Open a bucket, then drop the files again."));
    });
    connect(transfers_, &TransfersView::closeRequested, this, [this] { setTransfersVisible(false); });

    const auto pane = [this](const QKeySequence& keys, bool forward) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, [this, forward] { focusNextPane(forward); });
    };
    pane(Qt::Key_F6, true);
    pane(Qt::SHIFT | Qt::Key_F6, false);
}

void MainWindow::buildMenus()
{
    buildFileMenu();
    buildViewMenu();
    buildAccountMenu();
    buildKeysMenu();
    buildHelpMenu();
}

void MainWindow::buildFileMenu()
{
    const auto& commands = detail_->browser().commands();
    auto* const file = menuBar()->addMenu(tr("&File"));
    file->addAction(commands.upload);
    file->addAction(commands.uploadFolder);
    file->addAction(commands.download);
    file->addAction(tr("Save Downloads To…"), transferDialogs_, &TransferDialogs::chooseDownloadFolder);
    file->addSeparator();
    file->addAction(commands.unfinishedUploads);
    file->addAction(commands.refresh);
    file->addSeparator();
    auto* const quit = file->addAction(tr("&Quit"), this, &MainWindow::askToQuit);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);

    auto* const edit = menuBar()->addMenu(tr("&Edit"));
    edit->addAction(commands.copyName);
    edit->addAction(commands.copyPath);
    edit->addSeparator();
    edit->addAction(commands.filter);
}

void MainWindow::buildViewMenu()
{
    const auto& commands = detail_->browser().commands();
    auto* const view = menuBar()->addMenu(tr("&View"));
    view->addAction(commands.allVersions);
    view->addSeparator();
    showTransfers_ = view->addAction(symbolIcon(Symbol::transfers), tr("Show Transfers"), this,
        [this] { setTransfersVisible(!application_.context->isShowingTransfers()); });
    showTransfers_->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_T));
    auto* const log = view->addAction(symbolIcon(Symbol::log), tr("Activity Log"), this, &MainWindow::showActivityLog);
    log->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_L));

    auto* const go = menuBar()->addMenu(tr("&Go"));
    go->addAction(commands.back);
    go->addAction(commands.forward);
    go->addAction(commands.up);
    go->addSeparator();
    go->addAction(commands.editPath);
    go->addSeparator();
    auto* const keys = go->addAction(symbolIcon(Symbol::key), tr("Application Keys"), this,
        [this] { application_.context->request(AccountSurface::keys); });
    keys->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_3));
}

void MainWindow::buildAccountMenu()
{
    account_ = menuBar()->addMenu(tr("&Account"));
    account_->setToolTipsVisible(true);
    connect(account_, &QMenu::aboutToShow, this, &MainWindow::fillAccountMenu);
    fillAccountMenu();
}

// Made anew each time: what it offers depends on the keys that are stored now.
void MainWindow::fillAccountMenu()
{
    auto& root = *application_.root;
    account_->clear();
    for (auto* const old : account_->findChildren<QMenu*>(Qt::FindDirectChildrenOnly))
        old->deleteLater();
    auto* const keys = account_->addMenu(symbolIcon(Symbol::key), tr("Key in Use"));
    keys->setToolTipsVisible(true);
    Sidebar::fillKeyMenu(*keys, *application_.context, root);
    if (*root.keyStore.keychain().needsPassphrase)
        account_->addAction(symbolIcon(Symbol::lock), tr("Unlock…"), keySheets_, &KeySheets::unlockStore);
    account_->addAction(symbolIcon(Symbol::add), tr("Add Key…"), keySheets_, &KeySheets::addKey);
    account_->addSeparator();

    const auto key = root.storedKeys.keyInUse();
    const auto add = [&](const QString& text, bool isOffered, const QString& reason, const auto& act) {
        auto* const action = account_->addAction(text, keySheets_, act);
        action->setEnabled(isOffered);
        if (!isOffered)
            action->setToolTip(reason);
    };
    const QString noKey = tr("No key is in use");
    const auto about = [&](void (KeySheets::*slot)(const StoredKey&)) {
        return [this, slot, chosen = key.value_or(StoredKey())] { (keySheets_->*slot)(chosen); };
    };
    add(tr("Key Details…"), key && root.storedKeys.inspection(*key),
        key ? tr("Backblaze did not tell of this key") : noKey, about(&KeySheets::inspectKey));
    add(tr("Rename Key…"), key.has_value(), noKey, about(&KeySheets::renameKey));
    add(tr("Rename Account…"), *root.keyStore.session != nullptr, tr("Kestrovan is not connected with a key"),
        [this] { application_.context->accountRenameTick = *application_.context->accountRenameTick + 1; });
    add(tr("Remove from Kestrovan…"), key.has_value(), noKey, about(&KeySheets::removeKey));
    if (const int count = static_cast<int>(root.keyStore.revokedKeys().size()); count > 0)
        account_->addAction(count == 1 ? tr("Remove 1 Key Backblaze No Longer Has…")
                                       : tr("Remove %1 Keys Backblaze No Longer Has…").arg(count),
            keySheets_, &KeySheets::removeRevokedKeys);
    const auto& keychain = root.keyStore.keychain();
    if (*keychain.useLegacyStore && !*keychain.needsPassphrase) {
        account_->addAction(symbolIcon(Symbol::lock),
            *keychain.hasPassphrase ? tr("Change the Passphrase of Keys…") : tr("Protect Keys with a Passphrase…"),
            keySheets_, &KeySheets::protectStore);
        if (*keychain.hasPassphrase)
            account_->addAction(tr("Remove the Passphrase of Keys…"), keySheets_, &KeySheets::removePassphrase);
    }
    account_->addSeparator();
    auto* const read = account_->addAction(
        symbolIcon(Symbol::refresh), tr("Read Bucket List Again"), &root, &RootModel::reloadBuckets);
    read->setEnabled(*root.keyStore.session != nullptr);
}

// There while the account's keys are shown.
void MainWindow::buildKeysMenu()
{
    keysMenu_ = menuBar()->addMenu(tr("&Keys"));
    keysMenu_->setToolTipsVisible(true);
    const auto& commands = detail_->keys().commands();
    keysMenu_->addActions({commands.newKey, commands.remove});
    keysMenu_->addSeparator();
    keysMenu_->addActions(
        {commands.details, commands.switchTo, commands.add, commands.rename, commands.takeName, commands.copyID});
    keysMenu_->addSeparator();
    keysMenu_->addAction(commands.refresh);
}

void MainWindow::buildHelpMenu()
{
    auto* const help = menuBar()->addMenu(tr("&Help"));
    auto* const guide = help->addAction(tr("Kestrovan Help"), this, [this] { HelpWindow::open(this); });
    guide->setShortcut(QKeySequence::HelpContents);
    help->addAction(tr("About Kestrovan"), this, [this] {
        showMessage(tr("Kestrovan %1").arg(QCoreApplication::applicationVersion()),
            tr("Runs your whole Backblaze B2 account from your desktop."));
    });
}

void MainWindow::render()
{
    const bool isShowing = application_.context->isShowingTransfers();
    transfers_->setVisible(isShowing);
    showTransfers_->setText(isShowing ? tr("Hide Transfers") : tr("Show Transfers"));

    renderNotice();
    const auto state = application_.root->detailState();
    welcome_->setKeyPlace(application_.keychain->place());
    pages_->setCurrentWidget(state.kind == DetailState::Kind::welcome ? static_cast<QWidget*>(welcome_) : columns_);

    const auto& bucket = *application_.root->browser.bucket;
    const bool isManagingKeys = state.kind == DetailState::Kind::keys;
    const bool isBrowsing = state.kind == DetailState::Kind::browser;
    if (isManagingKeys)
        setWindowTitle(tr("Application Keys"));
    else
        setWindowTitle(isBrowsing && bucket ? toQString(bucket->bucketName) : QString());
    // Both panes have a Refresh on F5: only the commands of the one that is shown are there.
    for (auto* const action : detail_->browser().commands().all())
        action->setVisible(!isManagingKeys);
    detail_->keys().commands().setVisible(isManagingKeys);
    keysMenu_->menuAction()->setVisible(isManagingKeys);
}

void MainWindow::renderNotice()
{
    const auto notice = application_.root->notice();
    if (!notice) {
        banner_->dismiss();
        return;
    }
    const QString text = toQString(notice->text);
    if (!banner_->isHidden() && banner_->text() == text)
        return;
    QString verb;
    if (notice->action == RootNotice::Action::tryAgain)
        verb = tr("Try Again");
    else if (notice->action == RootNotice::Action::stopWaiting)
        verb = tr("Cancel");
    banner_->showMessage(MessageKind::warning, text, verb);
}

void MainWindow::setTransfersVisible(bool visible)
{
    application_.context->setShowingTransfers(visible);
}

void MainWindow::upload(const QList<QUrl>& urls, const std::string& prefix)
{
    const auto& browser = application_.root->browser;
    if (!*browser.session || !*browser.bucket || urls.isEmpty())
        return;
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : urls)
        files.push_back(localPathOf(url));
    application_.queue->upload(std::move(files), **browser.bucket, prefix, *browser.session);
    setTransfersVisible(true);
}

void MainWindow::download(const std::vector<B2FileVersion>& files)
{
    const auto& browser = application_.root->browser;
    if (!*browser.session || !*browser.bucket || files.empty())
        return;
    application_.queue->download(files, **browser.bucket, *browser.session);
    setTransfersVisible(true);
}

ActivityLogWindow& MainWindow::logWindow()
{
    if (!logWindow_)
        logWindow_ = new ActivityLogWindow(*application_.log, *application_.settings);
    return *logWindow_;
}

void MainWindow::showActivityLog()
{
    auto& window = logWindow();
    window.show();
    window.raise();
    window.activateWindow();
}

void MainWindow::showMessage(const QString& title, const QString& text)
{
    auto* const box = new QMessageBox(QMessageBox::Information, title, text, QMessageBox::Close, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setIconPixmap(windowIcon().pixmap(48, 48));
    box->open();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    event->ignore();
    askToQuit();
}

void MainWindow::keyPressEvent(QKeyEvent* event)
{
    if (!pressFocusedButton(*this, *event))
        QMainWindow::keyPressEvent(event);
}

void MainWindow::askToQuit()
{
    const auto question = quitQuestion(application_.queue->activeTransfers());
    if (!question) {
        leave();
        return;
    }
    if (isAskingToQuit_)
        return;
    isAskingToQuit_ = true;
    auto* const sheet = new Sheet(toQString(question->title), toQString(question->text), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setObjectName(QStringLiteral("quitQuestion"));
    sheet->setDestructiveVerb(toQString(question->quitButton));
    sheet->setCancelText(toQString(question->stayButton));
    connect(sheet, &Sheet::verbTriggered, sheet, &QDialog::accept);
    connect(sheet, &QDialog::finished, this, [this](int outcome) {
        isAskingToQuit_ = false;
        if (outcome == QDialog::Accepted)
            leave();
    });
    sheet->open();
}

void MainWindow::leave()
{
    saveSplitters();
    hide();
    if (logWindow_)
        logWindow_->close();
    Q_EMIT quitConfirmed();
}

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (!std::exchange(hasStarted_, true))
        application_.root->start();
}

void MainWindow::focusNextPane(bool forward)
{
    QList<QWidget*> panes{sidebar_, detail_};
    if (transfers_->isVisible())
        panes.append(transfers_);
    qsizetype current = 0;
    for (qsizetype i = 0; i < panes.size(); ++i) {
        if (panes[i]->isAncestorOf(QApplication::focusWidget()))
            current = i;
    }
    QWidget* const next = panes[(current + (forward ? 1 : panes.size() - 1)) % panes.size()];
    if (next == sidebar_)
        sidebar_->takeFocus();
    else if (next == transfers_)
        transfers_->focusList();
    else
        detail_->takeFocus();
}

void MainWindow::restoreSplitters()
{
    const auto restore = [this](QSplitter& splitter, std::string_view key, const QList<int>& first) {
        const auto stored = application_.settings->text(key);
        if (!stored || !splitter.restoreState(QByteArray::fromBase64(QByteArray::fromStdString(*stored))))
            splitter.setSizes(first);
    };
    restore(*columns_, columnsKey, {240, 940});
    restore(*rows_, rowsKey, {540, 200});
}

void MainWindow::saveSplitters()
{
    application_.settings->set(columnsKey, columns_->saveState().toBase64().toStdString());
    application_.settings->set(rowsKey, rows_->saveState().toBase64().toStdString());
}
