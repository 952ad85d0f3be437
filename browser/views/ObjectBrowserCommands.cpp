// The half of the pane that offers commands and performs them.

#include "browser/BrowserTexts.h"
#include "browser/views/BrowserCommands.h"
#include "browser/views/ModeControl.h"
#include "browser/views/ObjectBrowserView.h"
#include "browser/views/UploadDrops.h"
#include "foundation/QtText.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLayout>
#include <QMenu>

namespace {

constexpr std::size_t maxSelectedWhileFiltering = 1000;

} // namespace

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
        // A filter breaks a large selection into thousands of ranges, which takes too long to keep.
        if (selected().size() > maxSelectedWhileFiltering)
            table_->clearSelection();
        model_.setFilter(fromQString(text));
    });
    const auto backToTable = [this] { table_->setFocus(Qt::TabFocusReason); };
    connect(filter_, &SearchField::left, this, backToTable);
    connect(filter_, &QLineEdit::returnPressed, this, backToTable);
}

void ObjectBrowserView::updateCommands(const std::vector<const BrowserRow*>& selected)
{
    commands_->update(model_, selected);
    drops_->setEnabled(commands_->upload->isEnabled());
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

void ObjectBrowserView::takeFiles(const QList<QUrl>& urls)
{
    if (commands_->upload->isEnabled())
        drops_->take(urls, *model_.prefix);
    else
        showNotice(commands_->upload->toolTip());
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
        showNotice(commands_->download->toolTip());
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

void ObjectBrowserView::keyPressEvent(QKeyEvent* event)
{
    // Space is reserved for a preview and does nothing yet.
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier)
        event->accept();
    else if (event->key() == Qt::Key_Backspace && event->modifiers() == Qt::NoModifier)
        model_.goUp();
    else
        TablePane::keyPressEvent(event);
}

void ObjectBrowserView::resizeEvent(QResizeEvent* event)
{
    // In a narrow window the commands keep their words and the filter gives way.
    const int letters = width() < fontMetrics().averageCharWidth() * 110 ? 9 : 22;
    filter_->setFixedWidth(fontMetrics().averageCharWidth() * letters + 2 * Spacing::wide);
    // A tool bar that has dropped the filter for lack of room does not notice when there is room again.
    toolBar_->layout()->invalidate();
    TablePane::resizeEvent(event);
}
