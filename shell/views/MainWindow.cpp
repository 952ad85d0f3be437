#include "shell/views/MainWindow.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/SettingsKeys.h"
#include "foundation/views/Banner.h"
#include "foundation/views/Icons.h"
#include "foundation/views/Measures.h"
#include "shell/views/ActivityLogWindow.h"
#include "shell/views/DetailArea.h"
#include "shell/views/HelpWindow.h"
#include "shell/views/Sidebar.h"
#include "shell/views/StagedWindow.h"
#include "transfers/QuitQuestion.h"
#include "transfers/views/TransfersView.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QShortcut>
#include <QSplitter>
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
    connect(banner_, &Banner::actionTriggered, this, [this] { application_.root->tryAgain(); });
    connect(banner_, &Banner::closed, this, [this] { application_.root->dismissSwitchFailure(); });
    render();
}

MainWindow::~MainWindow()
{
    saveSplitters();
    delete logWindow_;
}

void MainWindow::buildLayout()
{
    auto* const right = new QWidget;
    auto* const rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->setSpacing(0);
    rightLayout->addWidget(banner_);
    rightLayout->addWidget(detail_, 1);
    rows_->addWidget(right);
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
    setCentralWidget(columns_);

    auto& browser = detail_->browser();
    connect(&browser, &ObjectBrowserView::uploadFilesDialogRequested, this, &MainWindow::chooseFilesToUpload);
    connect(&browser, &ObjectBrowserView::uploadRequested, this,
        [this](const QList<QUrl>& urls, const std::string& prefix) {
            QStringList paths;
            for (const QUrl& url : urls)
                paths.append(url.toLocalFile());
            upload(paths, prefix);
        });
    connect(transfers_, &TransfersView::closeRequested, this, [this] { setTransfersVisible(false); });

    const auto pane = [this](const QKeySequence& keys, bool forward) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, [this, forward] { focusNextPane(forward); });
    };
    pane(Qt::Key_F6, true);
    pane(Qt::SHIFT | Qt::Key_F6, false);
}
