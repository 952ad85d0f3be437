#include "browser/views/ObjectBrowserView.h"

#include "browser/BrowserTexts.h"
#include "browser/PrefixPath.h"
#include "browser/actions/BrowserActions.h"
#include "browser/views/BrowserCommands.h"
#include "browser/views/DigestDelegate.h"
#include "browser/views/ModeControl.h"
#include "browser/views/UploadDrops.h"
#include "foundation/QtText.h"
#include "foundation/Settings.h"
#include "foundation/SettingsKeys.h"
#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameDelegate.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>

#include <algorithm>

namespace {

/// The next page is fetched when so few rows are left below.
constexpr int rowsLeftBelow = 40;
constexpr std::size_t mostSortColumns = 3;
constexpr std::size_t mostFilteredSelected = 1000;
/// Columns as wide as what they mostly hold; the name takes the rest.
QString firstColumns(const QFontMetrics& metrics)
{
    constexpr int margins = 20;
    const auto width = [&](const QString& sample) { return metrics.horizontalAdvance(sample) + margins; };
    const QString date = toQString(dateText(std::chrono::sys_days(std::chrono::year(2026) / 12 / 28)));
    return QStringLiteral("name 300; size %1; modified %2; state %3; replication %3 hidden; checksum %4")
        .arg(width(QStringLiteral("888.88 MB")))
        .arg(width(date))
        .arg(width(QStringLiteral("File · Encrypted")))
        .arg(QFontMetrics(fixedFont()).horizontalAdvance(QStringLiteral("Not recorded")) + margins);
}

} // namespace

ObjectBrowserView::ObjectBrowserView(BrowserModel& model, Settings& settings, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , settings_(settings)
    , commands_(new BrowserCommands(this))
    , toolBar_(new PaneToolBar(this))
    , mode_(new ModeControl)
    , filter_(new SearchField(tr("Filter"), SearchField::Purpose::filter))
    , path_(new PathBar(this))
    , loading_(new LoadingLine(this))
    , banner_(new Banner(this))
    , pages_(new QStackedWidget(this))
    , table_(new DenseTableView)
    , blank_(new QWidget)
    , message_(new EmptyState)
    , status_(new StatusLine(this))
    , loadMore_(new QPushButton(tr("Load More"), this))
    , drops_(new UploadDrops(*table_, rows_, this))
{
    buildToolBar();
    buildTable();
    buildLayout();
    connectCommands();
    connectDrops();
    patience_.setSingleShot(true);
    patience_.setInterval(LoadingLine::delayMilliseconds);
    connect(&patience_, &QTimer::timeout, this, &ObjectBrowserView::renderContent);
    connect(&model_, &Observable::changed, this, &ObjectBrowserView::render);
    render();
}

ObjectBrowserView::~ObjectBrowserView() = default;

void ObjectBrowserView::buildToolBar()
{
    toolBar_->setAccessibleName(tr("Commands for files"));
    toolBar_->addGroup({commands_->back, commands_->forward, commands_->up, commands_->refresh});
    toolBar_->addGroup({commands_->upload, commands_->uploadFolder, commands_->download});
    toolBar_->addGroup({commands_->unfinishedUploads});
    toolBar_->addSpacer();
    toolBar_->addWidget(mode_);
    auto* const gap = new QWidget;
    gap->setFixedWidth(Spacing::small);
    toolBar_->addWidget(gap);
    filter_->setToolTip(commands_->filter->toolTip() + QStringLiteral(" (Ctrl+F)"));
    toolBar_->addWidget(filter_);
}

void ObjectBrowserView::buildTable()
{
    table_->setAccessibleName(tr("Files"));
    table_->setModel(&rows_);
    table_->setNameColumn(static_cast<int>(BrowserColumn::name));
    table_->setItemDelegateForColumn(static_cast<int>(BrowserColumn::name), new NameDelegate(table_));
    table_->setItemDelegateForColumn(static_cast<int>(BrowserColumn::checksum), new DigestDelegate(table_));
    table_->restoreState(firstColumns(table_->fontMetrics()));
    if (const auto columns = settings_.text(SettingsKeys::tableColumns("browser")))
        table_->restoreState(toQString(*columns));
    connect(table_, &DenseTableView::stateChanged, this,
        [this] { settings_.set(SettingsKeys::tableColumns("browser"), fromQString(table_->state())); });
    connect(table_, &DenseTableView::columnFitted, this, [this](int section, int width, int measuredRows) {
        const auto line = QStringLiteral("Fitted the %1 column to %2 points from %3 of %4 rows in browser")
                              .arg(rows_.headerData(section, Qt::Horizontal, Qt::DisplayRole).toString())
                              .arg(width)
                              .arg(measuredRows)
                              .arg(rows_.rowCount());
        ActivityLog::shared().record({B2LogLevel::debug, "table", fromQString(line), {}});
    });
    connect(table_, &DenseTableView::opened, this, &ObjectBrowserView::openRow);
    connect(table_, &DenseTableView::goUp, this, [this] { model_.goUp(); });
    connect(table_, &DenseTableView::menuRequested, this, &ObjectBrowserView::showMenu);
    connect(table_->horizontalHeader(), &QHeaderView::sortIndicatorChanged, this, &ObjectBrowserView::chooseSort);
    connect(table_->verticalScrollBar(), &QScrollBar::valueChanged, this, &ObjectBrowserView::loadMoreAtEnd);
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ObjectBrowserView::renderStatus);
}

void ObjectBrowserView::buildLayout()
{
    pages_->addWidget(table_);
    pages_->addWidget(blank_);
    pages_->addWidget(message_);
    blank_->setBackgroundRole(QPalette::Base);
    blank_->setAutoFillBackground(true);
    message_->setBackgroundRole(QPalette::Base);
    message_->setAutoFillBackground(true);
    loadMore_->setFlat(true);
    loadMore_->setFont(textFont(TextSize::small, QFont::DemiBold));
    // As high as the line's text, so that the line keeps its height.
    loadMore_->setFixedHeight(loadMore_->fontMetrics().height() + Spacing::tight);
    status_->layout()->addWidget(loadMore_);
    loadMore_->setToolTip(QString::fromUtf8(BrowserHelp::loadMore));
    loadMore_->setAccessibleDescription(loadMore_->toolTip());

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolBar_);
    column->addWidget(path_);
    column->addWidget(loading_);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    column->addWidget(status_);
    setFocusProxy(table_);
}

void ObjectBrowserView::connectCommands()
{
    addActions(commands_->all());
    connect(commands_->back, &QAction::triggered, this, [this] { model_.goBack(); });
    connect(commands_->forward, &QAction::triggered, this, [this] { model_.goForward(); });
    connect(commands_->up, &QAction::triggered, this, [this] { model_.goUp(); });
    connect(commands_->refresh, &QAction::triggered, this, [this] { model_.refresh(); });
    connect(commands_->open, &QAction::triggered, this, [this] { openRow(table_->currentIndex()); });
    connect(commands_->upload, &QAction::triggered, this, &ObjectBrowserView::uploadFilesDialogRequested);
    connect(commands_->uploadFolder, &QAction::triggered, this, &ObjectBrowserView::uploadFolderDialogRequested);
    connect(commands_->download, &QAction::triggered, this, &ObjectBrowserView::download);
    connect(commands_->unfinishedUploads, &QAction::triggered, this, &ObjectBrowserView::unfinishedUploadsRequested);
    connect(commands_->copyName, &QAction::triggered, this, [this] { copySelected(false); });
    connect(commands_->copyPath, &QAction::triggered, this, [this] { copySelected(true); });
    connect(commands_->editPath, &QAction::triggered, path_, &PathBar::beginEditing);
    connect(commands_->filter, &QAction::triggered, this, [this] {
        filter_->setFocus(Qt::ShortcutFocusReason);
        filter_->selectAll();
    });
    connect(commands_->allVersions, &QAction::triggered, this,
        [this](bool isOn) { model_.setMode(isOn ? BrowserMode::allVersions : BrowserMode::current); });

    connect(mode_, &ModeControl::modeChosen, this, [this](BrowserMode mode) { model_.setMode(mode); });
    connect(filter_, &QLineEdit::textChanged, this, [this](const QString& text) {
        // Torn into pieces by a filter, a selection of many rows takes longer to keep than anybody waits.
        if (selected().size() > mostFilteredSelected)
            table_->clearSelection();
        model_.setFilter(fromQString(text));
    });
    const auto backToTable = [this] { table_->setFocus(Qt::TabFocusReason); };
    connect(filter_, &SearchField::left, this, backToTable);
    connect(filter_, &QLineEdit::returnPressed, this, backToTable);
    connect(path_, &PathBar::navigate, this, &ObjectBrowserView::goTo);
    connect(loadMore_, &QPushButton::clicked, this, [this] { model_.loadMore(); });
    connect(banner_, &Banner::actionTriggered, this, [this] { model_.retry(); });
    connect(banner_, &Banner::closed, this, [this] {
        dismissedError_ = *model_.error;
        notice_.reset();
    });
    connect(message_, &EmptyState::firstActionTriggered, this, [this] {
        if (firstAction_)
            (model_.*firstAction_)();
        else if (!model_.filter->empty())
            filter_->clear();
        else
            model_.setMode(BrowserMode::allVersions);
    });
    connect(message_, &EmptyState::secondActionTriggered, this, &ObjectBrowserView::uploadFilesDialogRequested);
}

void ObjectBrowserView::connectDrops()
{
    drops_->watch(*message_);
    drops_->watch(*blank_);
    connect(path_, &PathBar::dropped, this, [this](const QList<QUrl>& urls, const QString& path) {
        if (commands_->upload->isEnabled())
            drops_->take(urls, fromQString(path));
        else
            say(commands_->upload->toolTip());
    });
    connect(drops_, &UploadDrops::filesDropped, this,
        [this](const QList<QUrl>& files, const std::string& bucketID, const std::string& prefix) {
            // Looking at the files may have taken longer than the user stayed.
            if (*model_.bucket && (*model_.bucket)->bucketID == bucketID)
                Q_EMIT uploadRequested(files, prefix);
            else
                say(tr("Nothing was uploaded, because another bucket was opened meanwhile. Drop the files again."));
        });
    connect(drops_, &UploadDrops::leftOut, this, &ObjectBrowserView::say);
}

std::vector<const BrowserRow*> ObjectBrowserView::selected() const
{
    // By ranges: an index for each of 100,000 selected rows would take longer than a frame.
    std::vector<int> numbers;
    for (const auto& range : table_->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            numbers.push_back(row);
    }
    std::ranges::sort(numbers);
    const auto repeated = std::ranges::unique(numbers);
    numbers.erase(repeated.begin(), repeated.end());
    std::vector<const BrowserRow*> rows;
    rows.reserve(numbers.size());
    for (const int number : numbers)
        rows.push_back(&rows_.row(number));
    return rows;
}

void ObjectBrowserView::takeFiles(const QList<QUrl>& urls)
{
    if (commands_->upload->isEnabled())
        drops_->take(urls, *model_.prefix);
    else
        say(commands_->upload->toolTip());
}

void ObjectBrowserView::goTo(const QString& path)
{
    // A step of the path is taken as it is, a typed text as the folder it means.
    const auto prefix = fromQString(path);
    const bool isStep = prefix.empty() || model_.prefix->starts_with(prefix);
    model_.navigate(isStep && (prefix.ends_with('/') || prefix == model_.rootPrefix() || prefix == *model_.prefix)
            ? prefix
            : typedPrefix(prefix));
    table_->setFocus(Qt::OtherFocusReason);
}

void ObjectBrowserView::openRow(const QModelIndex& index)
{
    if (!index.isValid())
        return;
    const auto& row = rows_.row(index.row());
    if (row.kind == RowKind::folder) {
        model_.navigate(row.file.fileName);
        return;
    }
    if (!table_->selectionModel()->isRowSelected(index.row()))
        table_->selectRow(index.row());
    if (commands_->download->isEnabled())
        download();
    else
        say(commands_->download->toolTip());
}

void ObjectBrowserView::download()
{
    std::vector<B2FileVersion> files;
    for (const auto* row : selected())
        files.push_back(row->file);
    if (!files.empty())
        Q_EMIT downloadRequested(files);
}

void ObjectBrowserView::copySelected(bool wholePath)
{
    QStringList names;
    for (const auto* row : selected())
        names.append(toQString(wholePath ? row->file.fileName : row->name));
    QGuiApplication::clipboard()->setText(names.join(u'\n'));
}

void ObjectBrowserView::showMenu(const QPoint& position)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    if (commands_->copyName->isEnabled()) {
        if (commands_->open->isEnabled())
            menu->addAction(commands_->open);
        menu->addAction(commands_->download);
        menu->addSeparator();
        menu->addActions({commands_->copyName, commands_->copyPath});
        menu->addSeparator();
    }
    menu->addActions({commands_->upload, commands_->uploadFolder, commands_->refresh, commands_->up});
    menu->addSeparator();
    menu->addActions({commands_->unfinishedUploads, commands_->allVersions});
    menu->popup(position);
}

void ObjectBrowserView::chooseSort(int section, Qt::SortOrder order)
{
    const auto& key = browserColumnKeys()[static_cast<std::size_t>(section)];
    auto wanted = *model_.sortOrder;
    std::erase_if(wanted, [&](const SortOrder& part) { return part.key == key; });
    wanted.insert(wanted.begin(), SortOrder{key, order == Qt::AscendingOrder});
    wanted.resize(std::min(wanted.size(), mostSortColumns));
    renderedOrder_ = wanted;
    model_.setSortOrder(std::move(wanted));
}

void ObjectBrowserView::loadMoreAtEnd()
{
    if (!isVisible() || pages_->currentWidget() != table_ || *model_.error || !model_.filter->empty())
        return;
    const int last = table_->rowAt(table_->viewport()->height() - 1);
    if (last < 0 || last + rowsLeftBelow >= rows_.rowCount())
        model_.loadMore();
}

void ObjectBrowserView::say(const QString& sentence)
{
    notice_ = sentence;
    renderBanner();
}

void ObjectBrowserView::keyPressEvent(QKeyEvent* event)
{
    // Kept free for a preview; anything else would surprise by what it does today.
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier)
        event->accept();
    else if (event->key() == Qt::Key_Backspace && event->modifiers() == Qt::NoModifier)
        model_.goUp();
    else
        QWidget::keyPressEvent(event);
}

void ObjectBrowserView::resizeEvent(QResizeEvent* event)
{
    // In a narrow window the commands keep their words and the filter gives way.
    const int letters = width() < fontMetrics().averageCharWidth() * 110 ? 9 : 22;
    filter_->setFixedWidth(fontMetrics().averageCharWidth() * letters + 2 * Spacing::wide);
    // A tool bar that has put the filter away does not notice that there is room for it now.
    toolBar_->layout()->invalidate();
    QWidget::resizeEvent(event);
}

void ObjectBrowserView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    loadMoreAtEnd();
}
