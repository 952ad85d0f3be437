#include "shell/window/MainWindow.h"

#include "accounts/views/KeySheets.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/ButtonKeys.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "foundation/views/sheets/QuestionSheet.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "shell/log/ActivityLogWindow.h"
#include "shell/window/DetailArea.h"
#include "shell/window/MenuBar.h"
#include "shell/window/Sidebar.h"
#include "shell/window/StagedWindow.h"
#include "shell/window/Surfaces.h"
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

MessageKind bannerKind(Notice::Kind kind)
{
    switch (kind) {
    case Notice::Kind::information:
        return MessageKind::notice;
    case Notice::Kind::success:
        return MessageKind::success;
    case Notice::Kind::warning:
        return MessageKind::warning;
    case Notice::Kind::failure:
        break;
    }
    return MessageKind::danger;
}

} // namespace

MainWindow::MainWindow(Application& application)
    : application_(application)
    , keySheets_(new KeySheets(
          application.root->storedKeys, [root = application.root.get()] { return *root->buckets.buckets; }, *this))
    , transferDialogs_(new TransferDialogs(application, *this))
    , sidebar_(new Sidebar(*application.root, *application.context))
    , banner_(new Banner)
    , toolBar_(new PaneToolBar)
    , detail_(new DetailArea(PaneParts{application, *keySheets_}))
    , transfers_(new TransfersView(*application.queue))
    , welcome_(new WelcomeView)
    , pages_(new QStackedWidget(this))
    , columns_(new QSplitter(Qt::Horizontal, this))
    , rows_(new QSplitter(Qt::Vertical))
{
    setWindowTitle(QStringLiteral("Kestrovan"));
    setMinimumSize(860, 560);
    buildLayout();
    buildToolBar();
    connectBrowser();
    connectKeys();
    setMenuBar(new MenuBar(
        {application, *detail_, *keySheets_, *transferDialogs_, [this] { showActivityLog(); }, [this] { askToQuit(); }},
        this));
    new StagedWindow(*this, *application.settings, std::string(SettingsKeys::windowFrame), QSize(1180, 760));
    restoreSplitters();
    connect(application.root.get(), &Observable::changed, this, &MainWindow::render);
    connect(application.context.get(), &Observable::changed, this, &MainWindow::render);
    connect(application.context.get(), &Observable::changed, this,
        [this, seen = *application.context->requestTick]() mutable {
            // A menu or a shortcut has asked for the pane: the keyboard belongs there.
            if (std::exchange(seen, *application_.context->requestTick) != *application_.context->requestTick)
                QMetaObject::invokeMethod(this, [this] { detail_->takeFocus(); }, Qt::QueuedConnection);
        });
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
    connect(banner_, &Banner::actionTriggered, this, &MainWindow::runNotice);
    connect(banner_, &Banner::closed, this, [this] { application_.root->notices.close(shownNotice_); });
    render();
}

MainWindow::~MainWindow()
{
    saveSplitters();
    delete logWindow_;
}

void MainWindow::buildLayout()
{
    auto* const pane = new QWidget;
    auto* const paneColumn = new QVBoxLayout(pane);
    paneColumn->setContentsMargins({});
    paneColumn->setSpacing(0);
    paneColumn->addWidget(toolBar_);
    paneColumn->addWidget(detail_, 1);
    rows_->addWidget(pane);
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
    // Above the welcome too: its sentences about keys matter most while no key is shown.
    auto* const everything = new QWidget;
    auto* const column = new QVBoxLayout(everything);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    setCentralWidget(everything);
    const auto cycle = [this](const QKeySequence& keys, bool forward) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, [this, forward] { focusNextPane(forward); });
    };
    cycle(Qt::Key_F6, true);
    cycle(Qt::SHIFT | Qt::Key_F6, false);
}

void MainWindow::connectBrowser()
{
    auto& browser = detail_->browser();
    connect(&browser, &ObjectBrowserView::uploadFilesDialogRequested, transferDialogs_,
        &TransferDialogs::chooseFilesToUpload);
    connect(&browser, &ObjectBrowserView::uploadFolderDialogRequested, transferDialogs_,
        &TransferDialogs::chooseFolderToUpload);
    connect(&browser, &ObjectBrowserView::uploadRequested, transferDialogs_, &TransferDialogs::upload);
    connect(&browser, &ObjectBrowserView::downloadRequested, transferDialogs_, &TransferDialogs::download);
    connect(&browser, &ObjectBrowserView::unfinishedUploadsRequested, transferDialogs_,
        &TransferDialogs::showUnfinishedUploads);
    connect(transferDialogs_, &TransferDialogs::uploadChosen, &browser, &ObjectBrowserView::takeFiles);
    connect(transferDialogs_, &TransferDialogs::queued, this, [this] { setTransfersVisible(true); });
    connect(transfers_, &TransfersView::filesDropped, this, [this](const QList<QUrl>& urls) {
        if (detail_->front() == &detail_->browser())
            detail_->browser().takeFiles(urls);
        else
            showMessage(tr("Select a Bucket"), tr("Nothing was uploaded. Open a bucket, then drop the files again."));
    });
    connect(transfers_, &TransfersView::closeRequested, this, [this] { setTransfersVisible(false); });
}

void MainWindow::connectKeys()
{
    connect(welcome_, &WelcomeView::connectRequested, keySheets_, &KeySheets::addKey);
    connect(detail_, &DetailArea::addKeyRequested, keySheets_, &KeySheets::addKey);
    connect(detail_, &DetailArea::unlockRequested, keySheets_, &KeySheets::unlockStore);
    connect(sidebar_, &Sidebar::addKeyRequested, keySheets_, &KeySheets::addKey);
    connect(sidebar_, &Sidebar::unlockRequested, keySheets_, &KeySheets::unlockStore);
    connect(sidebar_, &Sidebar::keyDetailsRequested, keySheets_, &KeySheets::inspectKey);
    connect(sidebar_, &Sidebar::renameKeyRequested, keySheets_, &KeySheets::renameKey);
    connect(sidebar_, &Sidebar::removeKeyRequested, keySheets_, &KeySheets::removeKey);
    connect(sidebar_, &Sidebar::removeRevokedKeysRequested, keySheets_, &KeySheets::removeRevokedKeys);
}

void MainWindow::buildToolBar()
{
    toolBar_->setAccessibleName(tr("Commands"));
    const auto followLabels = [this] {
        const auto stored = application_.settings->text(SettingsKeys::toolbarLabels);
        toolBar_->setLabels(PaneToolBar::labelsFrom(stored.value_or("")));
    };
    connect(application_.settings.get(), &Settings::changed, toolBar_, [followLabels](const QString& key) {
        if (fromQString(key) == SettingsKeys::toolbarLabels)
            followLabels();
    });
    followLabels();
    connect(toolBar_, &PaneToolBar::labelsChosen, this, [this](PaneToolBar::Labels labels) {
        application_.settings->set(SettingsKeys::toolbarLabels, PaneToolBar::labelsText(labels));
    });
    transfersToggle_ = new QAction(tr("Transfers"), this);
    transfersToggle_->setCheckable(true);
    connect(transfersToggle_, &QAction::triggered, this, &MainWindow::setTransfersVisible);
    toolBar_->addAtEnd(transfersToggle_);
    const auto show = [this] { toolBar_->showCommands(detail_->commands()); };
    connect(detail_, &DetailArea::commandsChanged, this, show);
    connect(application_.queue.get(), &TransferQueue::runningChanged, this, &MainWindow::render);
    show();
}

void MainWindow::render()
{
    const auto& root = *application_.root;
    const bool isShowing = application_.context->isShowingTransfers();
    const bool isActive = application_.queue->isRunning();
    transfers_->setVisible(isShowing);
    transfersToggle_->setChecked(isShowing);
    transfersToggle_->setIcon(symbolIcon(Symbol::transfers, isActive ? SymbolTint::accent : SymbolTint::plain));
    transfersToggle_->setText(isActive ? tr("Transfers…") : tr("Transfers"));
    transfersToggle_->setToolTip((isShowing ? tr("Hide transfers") : tr("Show transfers"))
        + (isActive ? tr(", some are in progress") : QString()));

    renderNotice();
    const auto state = root.detailState();
    welcome_->setKeyPlace(application_.keychain->place());
    pages_->setCurrentWidget(state.kind == DetailState::Kind::welcome ? static_cast<QWidget*>(welcome_) : columns_);

    const auto& bucket = *root.browser.bucket;
    if (state.kind != DetailState::Kind::pane)
        setWindowTitle({});
    else if (const auto* const surface = state.item.surface ? surfaceOf(*state.item.surface) : nullptr)
        setWindowTitle(surface->title);
    else
        setWindowTitle(bucket ? toQString(bucket->bucketName) : QString());
}

void MainWindow::renderNotice()
{
    const auto& notices = application_.root->notices;
    const auto* const notice = notices.newest();
    if (!notice) {
        banner_->dismiss();
        shownNotice_.clear();
        return;
    }
    QString text = toQString(notice->text);
    if (const auto more = static_cast<int>(notices.all->size()) - 1; more > 0)
        text += tr(" (%1 more)").arg(more);
    const auto kind = bannerKind(notice->kind);
    const bool isShown = !banner_->isHidden() && shownNotice_ == notice->id && shownAction_ == notice->actionTitle
        && banner_->text() == text && banner_->kind() == kind;
    if (isShown)
        return;
    shownNotice_ = notice->id;
    shownAction_ = notice->actionTitle;
    banner_->showMessage(kind, text, toQString(notice->actionTitle));
}

void MainWindow::runNotice()
{
    const auto* const notice = application_.root->notices.find(shownNotice_);
    if (!notice)
        return;
    // A copy: the action may take the notice away.
    if (const auto action = notice->action)
        action();
}

void MainWindow::setTransfersVisible(bool visible)
{
    application_.context->setShowingTransfers(visible);
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
    auto* const sheet = new QuestionSheet(*question, this);
    sheet->setObjectName(QStringLiteral("quitQuestion"));
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
