#include "accounts/keys/views/KeysView.h"

#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameDelegate.h"

#include <QItemSelectionModel>

namespace {

/// Columns as wide as their usual content; the name takes the rest.
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

KeysView::KeysView(KeysModel& model, KeyStore& store, Settings& settings, ActivityLog& log, QWidget* parent)
    : TablePane(settings, log, parent)
    , model_(model)
    , store_(store)
{
    buildTable();
    connectParts();
    connect(&model_, &Observable::changed, this, &KeysView::render);
    connect(&store_, &Observable::changed, this, &KeysView::render);
    render();
}

KeysView::~KeysView() = default;

void KeysView::buildTable()
{
    build(rows_, {.name = "keys", .firstColumns = firstColumns(table_->fontMetrics()), .defaultOrder = {{"name"}}}, {});
    table_->setAccessibleName(tr("Application Keys"));
    table_->setNameColumn(static_cast<int>(KeyColumn::name));
    for (const auto column : {KeyColumn::name, KeyColumn::relation})
        table_->setItemDelegateForColumn(static_cast<int>(column), new NameDelegate(table_));
    connect(tableState_, &TableState::orderChosen, this, &KeysView::render);
    connect(table_, &DenseTableView::opened, this, &KeysView::showDetails);
    connect(table_, &DenseTableView::menuRequested, this, &KeysView::showMenu);
    auto* const selection = table_->selectionModel();
    connect(selection, &QItemSelectionModel::selectionChanged, this, &KeysView::renderSelection);
    connect(selection, &QItemSelectionModel::currentChanged, this, &KeysView::renderSelection);
}

void KeysView::connectParts()
{
    connect(banner_, &Banner::actionTriggered, this, &KeysView::refresh);
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

std::vector<B2ApplicationKey> KeysView::selectedKeys() const
{
    std::vector<B2ApplicationKey> keys;
    for (const int row : selectedRows()) {
        if (rows_.isSelectable(row))
            keys.push_back(rows_.row(row).key);
    }
    return keys;
}

const KeyRow* KeysView::targetRow() const
{
    if (!isTableShown())
        return nullptr;
    const auto selected = selectedRows();
    if (!selected.empty())
        return selected.size() == 1 ? &rows_.row(selected.front()) : nullptr;
    // The session's own key is never selected, yet it can be looked at.
    const auto current = table_->currentIndex();
    return current.isValid() && !rows_.row(current.row()).isSelectable() ? &rows_.row(current.row()) : nullptr;
}

void KeysView::refresh()
{
    tasks_.start(model_.load());
}
