#include "browser/views/ObjectBrowserView.h"

#include "browser/BrowserTexts.h"
#include "browser/PrefixPath.h"
#include "browser/actions/BrowserActions.h"
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
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameDelegate.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>

#include <algorithm>

namespace {

/// The next page is fetched when so few rows are left below.
constexpr int rowsLeftBelow = 40;
constexpr std::size_t mostSortColumns = 3;
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
    : Pane(parent)
    , model_(model)
    , settings_(settings)
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
    buildPathRow();
    buildTable();
    buildLayout();
    connectCommands();
    connectParts();
    connectDrops();
    patience_.setSingleShot(true);
    patience_.setInterval(LoadingLine::delayMilliseconds);
    connect(&patience_, &QTimer::timeout, this, &ObjectBrowserView::renderContent);
    connect(&model_, &Observable::changed, this, &ObjectBrowserView::render);
    render();
}

ObjectBrowserView::~ObjectBrowserView() = default;

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
    column->addWidget(pathRow_);
    column->addWidget(loading_);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    column->addWidget(status_);
    setFocusProxy(table_);
}

void ObjectBrowserView::connectParts()
{
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
        if (commands().upload->isEnabled)
            drops_->take(urls, fromQString(path));
        else
            say(commands().upload->help);
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

void ObjectBrowserView::showEvent(QShowEvent* event)
{
    Pane::showEvent(event);
    loadMoreAtEnd();
}
