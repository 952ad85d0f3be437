#include "accounts/keys/views/KeysView.h"

#include "accounts/keys/views/KeyDetailsView.h"
#include "accounts/keys/views/KeysCommands.h"
#include "accounts/keys/views/NewKeyView.h"
#include "foundation/QtText.h"
#include "foundation/Settings.h"
#include "foundation/SettingsKeys.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/sheets/RunSheet.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameDelegate.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMenu>
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
    : QWidget(parent)
    , model_(model)
    , store_(store)
    , settings_(settings)
    , order_(decodeSort(settings.text(SettingsKeys::tableSort("keys")).value_or(""), keyColumnNames(), {{"name"}}))
    , commands_(new KeysCommands(this))
    , toolBar_(new PaneToolBar(this))
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
    connectCommands();
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
    connect(selection, &QItemSelectionModel::selectionChanged, this, &KeysView::renderCommands);
    connect(selection, &QItemSelectionModel::currentChanged, this, &KeysView::renderCommands);
}

void KeysView::buildLayout()
{
    toolBar_->setAccessibleName(tr("Commands for keys"));
    toolBar_->addGroup({commands_->newKey, commands_->remove});
    toolBar_->addGroup({commands_->switchTo, commands_->add, commands_->details});
    toolBar_->addSpacer();
    toolBar_->addAction(commands_->refresh);
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
    column->addWidget(toolBar_);
    column->addWidget(loading_);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    column->addWidget(status_);
    setFocusProxy(table_);
}

void KeysView::connectCommands()
{
    addActions(commands_->all());
    connect(commands_->newKey, &QAction::triggered, this, &KeysView::askForNewKey);
    connect(commands_->remove, &QAction::triggered, this, &KeysView::askToDelete);
    connect(commands_->refresh, &QAction::triggered, this, [this] {
        model_.dismissError();
        refresh();
    });
    connect(commands_->details, &QAction::triggered, this, &KeysView::showDetails);
    connect(commands_->switchTo, &QAction::triggered, this, [this] {
        if (const auto* const row = targetRow(); row && row->canSwitch())
            Q_EMIT switchRequested(toQString(row->key.applicationKeyID));
    });
    connect(commands_->add, &QAction::triggered, this, [this] {
        if (const auto* const row = targetRow(); row && row->canAdd())
            Q_EMIT addRequested(toQString(row->key.applicationKeyID), toQString(row->key.keyName));
    });
    connect(commands_->rename, &QAction::triggered, this, [this] {
        if (const auto* const row = targetRow(); row && row->stored)
            Q_EMIT renameSheetRequested(*row->stored);
    });
    connect(commands_->takeName, &QAction::triggered, this, [this] {
        if (const auto* const row = targetRow(); row && row->canTakeName())
            Q_EMIT renameRequested(*row->stored, toQString(row->key.keyName));
    });
    connect(commands_->copyID, &QAction::triggered, this, [this] {
        if (const auto* const row = targetRow())
            QGuiApplication::clipboard()->setText(toQString(row->key.applicationKeyID));
    });
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

void KeysView::showMenu(const QPoint& position)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    if (const auto* const row = targetRow()) {
        menu->addAction(commands_->details);
        menu->addAction(row->canAdd() ? commands_->add : commands_->switchTo);
        if (row->stored)
            menu->addAction(commands_->rename);
        if (row->canTakeName())
            menu->addAction(commands_->takeName);
        menu->addAction(commands_->copyID);
        menu->addSeparator();
    }
    menu->addAction(commands_->remove);
    menu->addSeparator();
    menu->addActions({commands_->newKey, commands_->refresh});
    menu->popup(position);
}

void KeysView::refresh()
{
    tasks_.start(model_.load());
}

void KeysView::askForNewKey()
{
    if (newSheet_ || !commands_->newKey->isEnabled())
        return;
    model_.dismissError();
    newSheet_ = new NewKeyView(model_, buckets_, this);
    newSheet_->setAttribute(Qt::WA_DeleteOnClose);
    connect(newSheet_, &NewKeyView::createRequested, this, &KeysView::create);
    newSheet_->open();
}

void KeysView::create(const B2CreateKeyRequest& request)
{
    // Both outcomes are in the model: a failure for the sheet that is open, a key for the sheet that follows.
    auto run = [](KeysModel* model, B2CreateKeyRequest wanted, std::weak_ptr<B2Session> askedFor) -> Task<> {
        co_await model->create(std::move(wanted), std::move(askedFor));
    };
    if (newSheet_)
        tasks_.start(run(&model_, request, newSheet_->session()));
}

void KeysView::showCreated()
{
    // Over the window, because the secret must be seen whatever pane is shown.
    createdSheet_ = new CreatedKeyView(**model_.created, addKey_, store_.keychain().place(), window());
    createdSheet_->setAttribute(Qt::WA_DeleteOnClose);
    connect(createdSheet_, &QDialog::accepted, this, [this] {
        if (*model_.created)
            revealed_ = (*model_.created)->key.applicationKeyID;
        model_.forgetCreated();
        takeFocus();
    });
    createdSheet_->open();
}

void KeysView::askToDelete()
{
    const auto keys = selectedKeys();
    if (keys.empty() || !commands_->remove->isEnabled())
        return;
    const auto progress = keys.size() == 1 ? tr("Deleting the key…") : tr("Deleting %1 keys…").arg(keys.size());
    auto* const sheet = new RunSheet(deleteKeysQuestion(keys), model_.makeDeletion(keys),
        {fromQString(progress), {.singular = "key", .plural = "keys", .participle = "deleted"}}, this);
    sheet->setObjectName(QStringLiteral("deleteKeys"));
    sheet->open();
}

void KeysView::showDetails()
{
    const auto* const row = targetRow();
    if (!row)
        return;
    KeyDetailsInputs inputs;
    inputs.key = row->key;
    inputs.buckets = buckets_;
    inputs.isCurrent = row->relation == KeyRelation::current;
    inputs.isStored = row->stored.has_value();
    inputs.keyPlace = store_.keychain().place();
    inputs.storedLabel = row->stored ? row->stored->label : std::string();
    inputs.now = std::chrono::system_clock::now();
    auto* const sheet = new KeyDetailsView(inputs, row->canTakeName(), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    const auto id = toQString(row->key.applicationKeyID);
    const auto name = toQString(row->key.keyName);
    if (row->stored) {
        connect(sheet, &KeyDetailsView::useBackblazeName, this,
            [this, stored = *row->stored, name] { Q_EMIT renameRequested(stored, name); });
    }
    if (row->canSwitch())
        sheet->setVerb(commands_->switchTo->text());
    else if (row->canAdd())
        sheet->setVerb(commands_->add->text());
    connect(sheet, &Sheet::verbTriggered, this, [this, sheet, id, name, isHeld = row->canSwitch()] {
        sheet->accept();
        if (isHeld)
            Q_EMIT switchRequested(id);
        else
            Q_EMIT addRequested(id, name);
    });
    sheet->open();
}
