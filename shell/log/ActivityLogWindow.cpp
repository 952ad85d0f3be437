#include "shell/log/ActivityLogWindow.h"

#include "async/Background.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/FileReveal.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/TableColumns.h"
#include "foundation/views/tables/TableState.h"
#include "shell/log/LogMessageDelegate.h"
#include "shell/window/StagedWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSaveFile>
#include <QShortcut>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

/// Columns as wide as their usual content; the message takes the rest.
QString firstColumns(const QFontMetrics& metrics)
{
    return QStringLiteral("time %1; level 32; area %2; message 400")
        .arg(metrics.horizontalAdvance(QStringLiteral("2026-00-00 00:00:00.000")) + 24)
        .arg(metrics.horizontalAdvance(QStringLiteral("replication")) + 24);
}

/// Writes the whole text, or leaves the file as it was and returns the error's sentence.
QString writeText(const QString& path, const QByteArray& text)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return {};
    return file.errorString();
}

} // namespace

ActivityLogWindow::ActivityLogWindow(ActivityLog& log, Settings& settings, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , log_(log)
    , settings_(settings)
    , rows_(log)
    , shown_(rows_)
    , search_(new SearchField(tr("Search the log"), SearchField::Purpose::search, this))
    , count_(new QLabel(this))
    , reveal_(new QPushButton(symbolIcon(Symbol::showInFolder), tr("Reveal Log File"), this))
    , showing_(new QComboBox(this))
    , recording_(new QComboBox(this))
    , copy_(new QPushButton(symbolIcon(Symbol::copy), tr("Copy"), this))
    , export_(new QPushButton(symbolIcon(Symbol::exportTo), tr("Export…"), this))
    , clear_(new QPushButton(symbolIcon(Symbol::trash), tr("Clear"), this))
    , table_(new QTreeView(this))
    , copiedTimer_(new QTimer(this))
{
    setWindowTitle(tr("Activity Log"));
    setObjectName(QStringLiteral("activity-log"));
    buildControls();
    buildTable();
    new StagedWindow(*this, settings, std::string(SettingsKeys::activityLogFrame), QSize(980, 560));
    connect(&log, &Observable::changed, this, &ActivityLogWindow::render);
    applyFilter();
}

void ActivityLogWindow::buildControls()
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::normal, Spacing::normal, Spacing::normal, Spacing::normal);
    layout->setSpacing(Spacing::small);

    auto* const top = new QHBoxLayout;
    top->setSpacing(Spacing::small);
    search_->setAccessibleName(tr("Search the log"));
    top->addWidget(search_, 1);
    auto* const showingLabel = new QLabel(tr("Show"), this);
    showingLabel->setBuddy(showing_);
    for (const auto level :
        {B2LogLevel::debug, B2LogLevel::info, B2LogLevel::notice, B2LogLevel::warning, B2LogLevel::error})
        showing_->addItem(tr("%1 and above").arg(toQString(displayName(level))), static_cast<int>(level));
    showing_->setCurrentIndex(static_cast<int>(B2LogLevel::info));
    showing_->setToolTip(tr("Hide entries below this level"));
    showing_->setAccessibleName(tr("Show"));
    top->addWidget(showingLabel);
    top->addWidget(showing_);
    auto* const recordingLabel = new QLabel(tr("Record"), this);
    recordingLabel->setBuddy(recording_);
    recording_->addItem(tr("Record everything"), static_cast<int>(B2LogLevel::debug));
    recording_->addItem(tr("Record normal detail"), static_cast<int>(B2LogLevel::info));
    recording_->setToolTip(tr("Record every API call too. Useful when diagnosing, noisy otherwise"));
    recording_->setAccessibleName(tr("Record"));
    recording_->setCurrentIndex(log_.minimumLevel() == B2LogLevel::debug ? 0 : 1);
    top->addWidget(recordingLabel);
    top->addWidget(recording_);
    layout->addLayout(top);
    layout->addWidget(table_, 1);

    auto* const bottom = new QHBoxLayout;
    bottom->setSpacing(Spacing::small);
    bottom->addWidget(count_, 1);
    reveal_->setToolTip(tr("The log is kept on disk and survives quitting Kestrovan"));
    copy_->setToolTip(tr("Copy every entry shown, oldest first"));
    clear_->setToolTip(tr("Delete the log, including the copy on disk"));
    for (auto* const button : {reveal_, copy_, export_, clear_}) {
        button->setAutoDefault(false);
        bottom->addWidget(button);
    }
    layout->addLayout(bottom);

    connect(search_, &QLineEdit::textChanged, this, &ActivityLogWindow::applyFilter);
    connect(search_, &SearchField::left, table_, [this] { table_->setFocus(); });
    connect(showing_, &QComboBox::currentIndexChanged, this, &ActivityLogWindow::applyFilter);
    connect(recording_, &QComboBox::currentIndexChanged, this,
        [this] { log_.setMinimumLevel(static_cast<B2LogLevel>(recording_->currentData().toInt())); });
    connect(reveal_, &QPushButton::clicked, this, [this] { revealInFileManager(toQString(log_.filePath().native())); });
    connect(copy_, &QPushButton::clicked, this, [this] {
        copy(shown_.textOfAll());
        copy_->setText(tr("Copied"));
        copiedTimer_->start();
    });
    copiedTimer_->setSingleShot(true);
    copiedTimer_->setInterval(1500);
    connect(copiedTimer_, &QTimer::timeout, copy_, [this] { copy_->setText(tr("Copy")); });
    connect(export_, &QPushButton::clicked, this, &ActivityLogWindow::exportText);
    connect(clear_, &QPushButton::clicked, this, [this] { log_.clear(); });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, search_, [this] {
        search_->setFocus(Qt::ShortcutFocusReason);
        search_->selectAll();
    });
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
}

void ActivityLogWindow::buildTable()
{
    table_->setModel(&shown_);
    table_->setRootIsDecorated(false);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->setAllColumnsShowFocus(true);
    table_->setFrameShape(QFrame::NoFrame);
    table_->setContextMenuPolicy(Qt::CustomContextMenu);
    table_->setAccessibleName(tr("Activity Log"));
    table_->setItemDelegateForColumn(LogTableModel::messageColumn, new LogMessageDelegate(table_));
    table_->header()->setSectionsMovable(true);
    table_->header()->setStretchLastSection(true);
    table_->header()->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    table_->header()->setSectionsClickable(true);
    table_->header()->setSortIndicatorShown(true);
    table_->header()->setMinimumSectionSize(32); // The width of the level's symbol.
    // Entries that sort alike are shown newest first, so one column decides.
    state_ = new TableState(*table_,
        {.name = "log",
            .firstColumns = firstColumns(QFontMetrics(table_->font())),
            .defaultOrder = {{.key = "time", .ascending = false}},
            .maxSortColumns = 1},
        settings_, log_);
    connect(state_, &TableState::orderChosen, this, &ActivityLogWindow::sort);
    sort();
    auto* const header = table_->header();
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QWidget::customContextMenuRequested, this,
        [header](const QPoint& position) { makeColumnsMenu(*header)->popup(header->mapToGlobal(position)); });
    connect(table_, &QWidget::customContextMenuRequested, this, &ActivityLogWindow::showContextMenu);
    auto* const copyRows = new QShortcut(QKeySequence::Copy, table_, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copyRows, &QShortcut::activated, this,
        [this] { copy(shown_.textOf(table_->selectionModel()->selectedRows())); });
}

void ActivityLogWindow::sort()
{
    shown_.sort(state_->sortedColumn(), state_->sortDirection());
}

void ActivityLogWindow::applyFilter()
{
    shown_.setFilter({static_cast<B2LogLevel>(showing_->currentData().toInt()), search_->text()});
    render();
}

void ActivityLogWindow::render()
{
    const int shown = shown_.rowCount();
    count_->setText(tr("%1 of %2 entries").arg(locale().toString(shown), locale().toString(rows_.rowCount())));
    copy_->setEnabled(shown > 0);
    export_->setEnabled(shown > 0);
}

void ActivityLogWindow::copy(const QString& text)
{
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void ActivityLogWindow::exportText()
{
    auto* const dialog = new QFileDialog(this, tr("Export"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(tr("Plain text (*.txt)"));
    dialog->setDefaultSuffix(QStringLiteral("txt"));
    dialog->selectFile(tr("Kestrovan Log"));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        auto write = [](QPointer<ActivityLogWindow> window, QString target, QByteArray text) -> Task<> {
            const QString failure = co_await runInBackground([target, text] { return writeText(target, text); });
            if (window && !failure.isEmpty()) {
                auto* const box = new QMessageBox(QMessageBox::Warning, tr("The log was not exported"),
                    tr("“%1” could not be written: %2. A file that was there before is untouched.")
                        .arg(target, failure),
                    QMessageBox::Ok, window);
                box->setAttribute(Qt::WA_DeleteOnClose);
                box->open();
            }
        };
        tasks_.start(write(this, path, shown_.textOfAll().toUtf8()));
    });
    dialog->open();
}

void ActivityLogWindow::showContextMenu(const QPoint& position)
{
    const auto selected = table_->selectionModel()->selectedRows();
    if (selected.isEmpty())
        return;
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(symbolIcon(Symbol::copy),
        selected.size() == 1 ? tr("Copy Line") : tr("Copy %1 Lines").arg(locale().toString(selected.size())), this,
        [this] { copy(shown_.textOf(table_->selectionModel()->selectedRows())); });
    menu->popup(table_->viewport()->mapToGlobal(position));
}
