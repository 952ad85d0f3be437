#include "browser/views/ObjectBrowserView.h"

#include "browser/BrowserTexts.h"
#include "browser/PrefixPath.h"
#include "browser/actions/BrowserActions.h"
#include "browser/views/DigestDelegate.h"
#include "browser/views/ModeControl.h"
#include "browser/views/UploadDrops.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameDelegate.h"

#include <QItemSelectionModel>
#include <QLayout>
#include <QPushButton>
#include <QScrollBar>

namespace {

/// The next page is fetched when no more rows than this are left below.
constexpr int rowsLeftBelow = 40;

/// Columns as wide as their usual content; the name takes the rest.
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

ObjectBrowserView::ObjectBrowserView(BrowserModel& model, Settings& settings, ActivityLog& log, QWidget* parent)
    : TablePane(settings, log, parent)
    , model_(model)
    , mode_(new ModeControl)
    , filter_(new SearchField(tr("Filter"), SearchField::Purpose::filter))
    , path_(new PathBar(this))
    , loadMore_(new QPushButton(tr("Load More"), this))
    , drops_(new UploadDrops(*table_, rows_, this))
{
    buildPathRow();
    buildTable();
    buildLoadMore();
    connectCommands();
    connectParts();
    connectDrops();
    connect(&model_, &Observable::changed, this, &ObjectBrowserView::render);
    render();
}

ObjectBrowserView::~ObjectBrowserView() = default;

void ObjectBrowserView::buildTable()
{
    // The model keeps the sort, one for each bucket.
    build(rows_,
        {.name = "browser",
            .firstColumns = firstColumns(table_->fontMetrics()),
            .defaultOrder = defaultBrowserOrder(),
            .keepsSort = false},
        {pathRow_});
    table_->setAccessibleName(tr("Files"));
    table_->setNameColumn(static_cast<int>(BrowserColumn::name));
    table_->setItemDelegateForColumn(static_cast<int>(BrowserColumn::name), new NameDelegate(table_));
    table_->setItemDelegateForColumn(static_cast<int>(BrowserColumn::checksum), new DigestDelegate(table_));
    connect(tableState_, &TableState::orderChosen, this, [this] { model_.setSortOrder(tableState_->order()); });
    connect(table_, &DenseTableView::opened, this, &ObjectBrowserView::openRow);
    connect(table_, &DenseTableView::goUp, this, [this] { model_.goUp(); });
    connect(table_, &DenseTableView::menuRequested, this, &ObjectBrowserView::showMenu);
    connect(table_->verticalScrollBar(), &QScrollBar::valueChanged, this, &ObjectBrowserView::loadMoreAtEnd);
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ObjectBrowserView::renderStatus);
}

void ObjectBrowserView::buildLoadMore()
{
    loadMore_->setFlat(true);
    loadMore_->setFont(textFont(TextSize::small, QFont::DemiBold));
    // As high as the line's text, so that the line keeps its height.
    loadMore_->setFixedHeight(loadMore_->fontMetrics().height() + Spacing::tight);
    status_->layout()->addWidget(loadMore_);
    loadMore_->setToolTip(QString::fromUtf8(BrowserHelp::loadMore));
    loadMore_->setAccessibleDescription(loadMore_->toolTip());
}

void ObjectBrowserView::connectParts()
{
    connect(path_, &PathBar::navigate, this, &ObjectBrowserView::goTo);
    connect(loadMore_, &QPushButton::clicked, this, [this] { model_.loadMore(); });
    connect(banner_, &Banner::actionTriggered, this, [this] { model_.retry(); });
    connect(message_, &EmptyState::firstActionTriggered, this, [this] {
        if (firstAction_)
            (model_.*firstAction_)();
        else if (!model_.rows.filter->empty())
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
            showNotice(commands().upload->help);
    });
    connect(drops_, &UploadDrops::filesDropped, this,
        [this](const QList<QUrl>& files, const std::string& bucketID, const std::string& prefix) {
            // The user may have opened another bucket while the files were inspected.
            if (*model_.bucket && (*model_.bucket)->bucketID == bucketID)
                Q_EMIT uploadRequested(files, prefix);
            else
                showNotice(tr(
                    "Nothing was uploaded, because another bucket was opened in the meantime. Drop the files again."));
        });
    connect(drops_, &UploadDrops::leftOut, this, &ObjectBrowserView::showNotice);
}

std::vector<const BrowserRow*> ObjectBrowserView::selected() const
{
    std::vector<const BrowserRow*> rows;
    for (const int number : selectedRows())
        rows.push_back(&rows_.row(number));
    return rows;
}

void ObjectBrowserView::goTo(const QString& path)
{
    // A step of the path is used as it is; a typed text is turned into the folder it means.
    const auto prefix = fromQString(path);
    const bool isStep = prefix.empty() || model_.prefix->starts_with(prefix);
    model_.navigate(isStep && (prefix.ends_with('/') || prefix == model_.rootPrefix() || prefix == *model_.prefix)
            ? prefix
            : typedPrefix(prefix));
    table_->setFocus(Qt::OtherFocusReason);
}

void ObjectBrowserView::loadMoreAtEnd()
{
    if (!isVisible() || !isTableShown() || *model_.error || !model_.rows.filter->empty())
        return;
    const int last = table_->rowAt(table_->viewport()->height() - 1);
    if (last < 0 || last + rowsLeftBelow >= rows_.rowCount())
        model_.loadMore();
}

void ObjectBrowserView::showEvent(QShowEvent* event)
{
    TablePane::showEvent(event);
    loadMoreAtEnd();
}
