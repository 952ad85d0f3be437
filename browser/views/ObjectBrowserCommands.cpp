// The half of the pane that offers commands and performs them.

#include "browser/BrowserTexts.h"
#include "browser/RowTexts.h"
#include "browser/actions/BrowserActions.h"
#include "browser/views/ModeControl.h"
#include "browser/views/ObjectBrowserView.h"
#include "browser/views/UploadDrops.h"
#include "foundation/QtText.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/CommandButton.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QMenu>

namespace {

constexpr std::size_t maxSelectedWhileFiltering = 1000;

std::optional<std::string> unless(bool isAllowed, const QString& reason)
{
    return isAllowed ? std::nullopt : std::optional(fromQString(reason));
}

/// The folder shown, as a sentence names it.
QString placeIn(const BrowserModel& model)
{
    const auto& prefix = *model.prefix;
    return prefix.empty() ? ObjectBrowserView::tr("the bucket root") : toQString(shownText(prefix));
}

QString downloadHelp(const std::vector<const BrowserRow*>& selected)
{
    if (selected.size() == 1 && selected.front()->kind == RowKind::folder)
        return ObjectBrowserView::tr("Download the folder %1 and everything in it")
            .arg(toQString(shownName(*selected.front())));
    return ObjectBrowserView::tr("Download what is selected");
}

} // namespace

void ObjectBrowserView::buildPathRow()
{
    pathRow_ = new QWidget(this);
    auto* const row = new QHBoxLayout(pathRow_);
    row->setContentsMargins(Spacing::tight, 0, Spacing::small, 0);
    row->setSpacing(0);
    for (const auto field : {&PaneCommands::back, &PaneCommands::forward, &PaneCommands::up}) {
        navigation_.push_back(new CommandButton(field, pathRow_));
        row->addWidget(navigation_.back());
    }
    row->addWidget(path_, 1);
    row->addWidget(mode_);
    row->addSpacing(Spacing::small);
    row->addWidget(filter_);
    filter_->setToolTip(tr("Show only names that contain the text you type (Ctrl+F)"));
}

void ObjectBrowserView::connectCommands()
{
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
    PaneCommands commands;
    addNavigation(commands);
    addTransfers(commands, selected);
    const bool hasBucket = model_.bucket->has_value() && *model_.session;
    const auto noRows = unless(!selected.empty(), tr("Select the rows to copy"));
    commands.open = makeCommand(tr("Open"), tr("Open the folder"),
        unless(selected.size() == 1 && selected.front()->kind == RowKind::folder, tr("Select one folder to open")),
        [this] { openRow(rows_.index(selectedRows().front(), 0)); });
    commands.copyItems = makeCommand(
        tr("Copy Name"), tr("Copy the names of the selected rows"), noRows, [this] { copySelected(false); });
    commands.copyPaths = makeCommand(
        tr("Copy Path"), tr("Copy the whole paths of the selected rows"), noRows, [this] { copySelected(true); });
    commands.find = makeCommand(tr("Filter"), tr("Show only names that contain the text you type"),
        unless(hasBucket, tr("Open a bucket first")), [this] {
            filter_->setFocus(Qt::ShortcutFocusReason);
            filter_->selectAll();
        });
    commands.allVersions = PaneToggle{.title = tr("All Versions"),
        .isOn = *model_.mode == BrowserMode::allVersions,
        .isEnabled = hasBucket,
        .toggle = [this](bool isOn) { model_.setMode(isOn ? BrowserMode::allVersions : BrowserMode::current); }};
    for (auto* const button : navigation_)
        button->showCommands(commands);
    drops_->setEnabled(commands.upload->isEnabled);
    publish(std::move(commands));
}

void ObjectBrowserView::addNavigation(PaneCommands& commands)
{
    const auto noBucket = unless(model_.bucket->has_value() && *model_.session, tr("Open a bucket first"));
    const auto root = model_.rootPrefix();
    std::optional<std::string> isTop;
    if (!model_.canGoUp())
        isTop = root.empty() ? fromQString(tr("This is the top of the bucket"))
                             : "This key reaches only names that begin with \"" + shownText(root) + "\"";
    commands.back = makeCommand(tr("Back"), tr("Go back to the previous folder"),
        unless(model_.canGoBack(), tr("There is no previous folder")), [this] { model_.goBack(); });
    commands.forward = makeCommand(tr("Forward"), tr("Go forward to the next folder"),
        unless(model_.canGoForward(), tr("There is no next folder")), [this] { model_.goForward(); });
    commands.up = makeCommand(tr("Up"), tr("Up to the enclosing folder"), isTop, [this] { model_.goUp(); });
    commands.editPath =
        makeCommand(tr("Enter a Path"), tr("Type the folder to go to"), noBucket, [this] { path_->beginEditing(); });
    commands.refresh = makeCommand(tr("Refresh"), tr("Reload the folder"), noBucket, [this] { model_.refresh(); });
}

void ObjectBrowserView::addTransfers(PaneCommands& commands, const std::vector<const BrowserRow*>& selected)
{
    const auto& session = *model_.session;
    auto refusal = unless(model_.bucket->has_value() && session, tr("Open a bucket first"));
    const auto unlessRefused = [&](const auto& reason) { return refusal ? refusal : reason(session->authorization); };
    const auto upload = unlessRefused(uploadRefusal);
    const QString place = placeIn(model_);
    commands.upload = makeCommand(tr("Upload Files…"), tr("Upload files into %1").arg(place), upload,
        [this] { Q_EMIT uploadFilesDialogRequested(); });
    commands.uploadFolder =
        makeCommand(tr("Upload Folder…"), tr("Upload a folder with everything in it into %1").arg(place), upload,
            [this] { Q_EMIT uploadFolderDialogRequested(); });
    commands.download = makeCommand(tr("Download"), downloadHelp(selected),
        unlessRefused([&](const B2Authorization& key) { return downloadRefusal(key, selected); }),
        [this] { download(); });
    commands.unfinishedUploads = makeCommand(tr("Unfinished Uploads…"),
        tr("Resume or cancel uploads to this bucket that stopped before they finished"), unlessRefused(listRefusal),
        [this] { Q_EMIT unfinishedUploadsRequested(); });
}

void ObjectBrowserView::showMenu(const QPoint& position)
{
    using C = PaneCommands;
    const auto& offered = commands();
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    const auto add = [&](std::initializer_list<PaneSlot::Field> fields) {
        for (const auto field : fields)
            addCommand(*menu, offered, field);
        menu->addSeparator();
    };
    if (offered.copyItems->isEnabled) {
        if (offered.open->isEnabled)
            addCommand(*menu, offered, &C::open);
        add({&C::download});
        add({&C::copyItems, &C::copyPaths});
    }
    add({&C::upload, &C::uploadFolder, &C::refresh, &C::up});
    addCommand(*menu, offered, &C::unfinishedUploads);
    addToggle(*menu, *offered.allVersions);
    menu->popup(position);
}

void ObjectBrowserView::takeFiles(const QList<QUrl>& urls)
{
    if (commands().upload->isEnabled)
        drops_->take(urls, *model_.prefix);
    else
        showNotice(commands().upload->help);
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
    if (commands().download->isEnabled)
        download();
    else
        showNotice(commands().download->help);
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
    // In a narrow window the path keeps its room and the filter gives way.
    const int letters = width() < fontMetrics().averageCharWidth() * 110 ? 9 : 22;
    filter_->setFixedWidth(fontMetrics().averageCharWidth() * letters + 2 * Spacing::wide);
    TablePane::resizeEvent(event);
}
