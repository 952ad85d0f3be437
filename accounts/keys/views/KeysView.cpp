#include "accounts/keys/views/KeysView.h"

#include "foundation/QtText.h"
#include "foundation/Settings.h"
#include "foundation/SettingsKeys.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameDelegate.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QStackedWidget>

#include <algorithm>

namespace {

constexpr std::size_t mostSortColumns = 3;

/// Columns as wide as what they mostly hold; the name takes the rest.
QString firstColumns(const QFontMetrics& metrics)
{
    constexpr int margins = 22;
    constexpr int symbol = 24;
    const auto width = [&](const QString& sample) { return metrics.horizontalAdvance(sample) + margins; };
    return QStringLiteral("name 240; relation %1; permissions %2; reach %3; expires %4; keyID %5 hidden")
        .arg(width(QStringLiteral("Not stored")) + symbol)
        .arg(width(QStringLiteral("read, write, delete, share")))
        .arg(width(QStringLiteral("documents · Letters/")))
        .arg(width(QStringLiteral("28 Nov 2026")))
        .arg(width(QStringLiteral("0044a1b2c3d4e5f0000000001")));
}

} // namespace

KeysView::KeysView(KeysModel& model, KeyStore& store, Settings& settings, QWidget* parent)
    : Pane(parent)
    , model_(model)
    , store_(store)
    , settings_(settings)
    , order_(decodeSort(settings.text(SettingsKeys::tableSort("keys")).value_or(""), keyColumnNames(), {{"name"}}))
    , loading_(new LoadingLine(this))
    , banner_(new Banner(this))
    , pages_(new QStackedWidget(this))
    , table_(new DenseTableView)
    , blank_(new QWidget)
    , message_(new EmptyState)
    , status_(new StatusLine(this))
{
    buildTable();
    buildLayout();
    connectParts();
    patience_.setSingleShot(true);
    patience_.setInterval(LoadingLine::delayMilliseconds);
    connect(&patience_, &QTimer::timeout, this, [this] {
        message_->showText(Symbol::key, tr("Reading the account's keys…"), {});
        message_->setActions({});
        pages_->setCurrentWidget(message_);
    });
    connect(&model_, &Observable::changed, this, &KeysView::render);
    connect(&store_, &Observable::changed, this, &KeysView::render);
    render();
}

KeysView::~KeysView() = default;

void KeysView::buildTable()
{
    table_->setAccessibleName(tr("Application Keys"));
    table_->setModel(&rows_);
    table_->setNameColumn(static_cast<int>(KeyColumn::name));
    for (const auto column : {KeyColumn::name, KeyColumn::relation})
        table_->setItemDelegateForColumn(static_cast<int>(column), new NameDelegate(table_));
    table_->restoreState(firstColumns(table_->fontMetrics()));
    if (const auto columns = settings_.text(SettingsKeys::tableColumns("keys")))
        table_->restoreState(toQString(*columns));
    auto* const header = table_->horizontalHeader();
    const auto first = std::ranges::find(keyColumnNames(), order_.front().key) - keyColumnNames().begin();
    header->setSortIndicator(
        static_cast<int>(first), order_.front().ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    connect(table_, &DenseTableView::stateChanged, this,
        [this] { settings_.set(SettingsKeys::tableColumns("keys"), fromQString(table_->state())); });
    connect(header, &QHeaderView::sortIndicatorChanged, this, &KeysView::chooseSort);
    connect(table_, &DenseTableView::opened, this, &KeysView::showDetails);
    connect(table_, &DenseTableView::menuRequested, this, &KeysView::showMenu);
    connect(table_, &DenseTableView::columnFitted, this, [this](int section, int width, int measuredRows) {
        const auto line = QStringLiteral("Fitted the %1 column to %2 points from %3 of %4 rows in keys")
                              .arg(rows_.headerData(section, Qt::Horizontal, Qt::DisplayRole).toString())
                              .arg(width)
                              .arg(measuredRows)
                              .arg(rows_.rowCount());
        ActivityLog::shared().record({B2LogLevel::debug, "table", fromQString(line), {}});
    });
    auto* const selection = table_->selectionModel();
    connect(selection, &QItemSelectionModel::selectionChanged, this, &KeysView::renderSelection);
    connect(selection, &QItemSelectionModel::currentChanged, this, &KeysView::renderSelection);
}

void KeysView::buildLayout()
{
    for (QWidget* const page : std::initializer_list<QWidget*>{blank_, message_}) {
        page->setBackgroundRole(QPalette::Base);
        page->setAutoFillBackground(true);
    }
    pages_->addWidget(table_);
    pages_->addWidget(blank_);
    pages_->addWidget(message_);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(loading_);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    column->addWidget(status_);
    setFocusProxy(table_);
}

void KeysView::connectParts()
{
    connect(banner_, &Banner::actionTriggered, this, &KeysView::refresh);
    connect(banner_, &Banner::closed, this, [this] { dismissedError_ = *model_.error; });
    connect(message_, &EmptyState::firstActionTriggered, this, [this] {
        if (KeysPane(model_, *store_.session).isFailure)
            refresh();
        else
            askForNewKey();
    });
}

void KeysView::setBuckets(const std::vector<B2Bucket>& buckets)
{
    if (buckets_ == buckets)
        return;
    buckets_ = buckets;
    render();
}

void KeysView::reveal(const std::string& keyID)
{
    revealed_ = keyID;
    render();
}

std::vector<B2ApplicationKey> KeysView::selectedKeys() const
{
    std::vector<B2ApplicationKey> keys;
    for (int row = 0; row < rows_.rowCount(); ++row) {
        if (rows_.isSelectable(row) && table_->selectionModel()->isSelected(rows_.index(row, 0)))
            keys.push_back(rows_.row(row).key);
    }
    return keys;
}

const KeyRow* KeysView::targetRow() const
{
    if (pages_->currentWidget() != table_)
        return nullptr;
    const auto selected = table_->selectionModel()->selectedRows();
    if (!selected.isEmpty())
        return selected.size() == 1 ? &rows_.row(selected.front().row()) : nullptr;
    // The session's own key is never selected, yet it can be looked at.
    const auto current = table_->currentIndex();
    return current.isValid() && !rows_.row(current.row()).isSelectable() ? &rows_.row(current.row()) : nullptr;
}

void KeysView::chooseSort(int section, Qt::SortOrder order)
{
    const auto& key = keyColumnNames()[static_cast<std::size_t>(section)];
    std::erase_if(order_, [&](const SortOrder& part) { return part.key == key; });
    order_.insert(order_.begin(), SortOrder{key, order == Qt::AscendingOrder});
    order_.resize(std::min(order_.size(), mostSortColumns));
    settings_.set(SettingsKeys::tableSort("keys"), encodeSort(order_));
    render();
}

void KeysView::refresh()
{
    tasks_.start(model_.load());
}
