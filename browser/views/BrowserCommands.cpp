#include "browser/views/BrowserCommands.h"

#include "browser/BrowserModel.h"
#include "browser/RowTexts.h"
#include "browser/actions/BrowserActions.h"
#include "foundation/QtText.h"
#include "foundation/views/style/Icons.h"

#include <optional>
#include <string>

namespace {

QAction* make(QObject* parent, const QString& text, const QString& tip, const QList<QKeySequence>& keys = {})
{
    auto* const action = new QAction(text, parent);
    action->setToolTip(tip);
    action->setProperty("tip", tip);
    action->setShortcuts(keys);
    return action;
}

QAction* make(QObject* parent, Symbol symbol, const QString& text, const QString& tip,
    const QList<QKeySequence>& keys = {}, QAction::Priority priority = QAction::LowPriority)
{
    auto* const action = make(parent, text, tip, keys);
    action->setIcon(symbolIcon(symbol));
    action->setPriority(priority);
    return action;
}

/// Switches an action off for a reason, which its tooltip then gives.
void allow(QAction& action, const std::optional<std::string>& refusal)
{
    action.setEnabled(!refusal);
    action.setToolTip(refusal ? toQString(*refusal) : action.property("tip").toString());
}

/// The same for an action whose help depends on what it would be done to.
void allow(QAction& action, const std::optional<std::string>& refusal, const QString& help)
{
    action.setProperty("tip", help);
    allow(action, refusal);
}

/// The same for one that is off for a plain reason.
void allow(QAction& action, bool isAllowed, const QString& reason)
{
    allow(action, isAllowed ? std::nullopt : std::optional(fromQString(reason)));
}

/// The folder shown, as a sentence names it.
QString placeOf(const BrowserModel& model)
{
    const auto& prefix = *model.prefix;
    return prefix.empty() ? BrowserCommands::tr("the bucket root") : toQString(shownText(prefix));
}

QString downloadHelp(const std::vector<const BrowserRow*>& selected)
{
    if (selected.size() == 1 && selected.front()->kind == RowKind::folder)
        return BrowserCommands::tr("Download the folder %1 and everything in it")
            .arg(toQString(shownName(*selected.front())));
    return BrowserCommands::tr("Download what is selected");
}

} // namespace

BrowserCommands::BrowserCommands(QObject* parent)
    : QObject(parent)
    , back(make(this, Symbol::arrowLeft, tr("Back"), tr("Back to the folder before"), {Qt::ALT | Qt::Key_Left}))
    , forward(make(this, Symbol::arrowRight, tr("Forward"), tr("Forward again"), {Qt::ALT | Qt::Key_Right}))
    , up(make(this, Symbol::arrowUp, tr("Up"), tr("Up to the enclosing folder"), {Qt::ALT | Qt::Key_Up}))
    , refresh(
          make(this, Symbol::refresh, tr("Refresh"), tr("Read the folder again"), {Qt::Key_F5, Qt::CTRL | Qt::Key_R}))
    , open(make(this, tr("Open"), tr("Open the folder")))
    , upload(make(this, Symbol::upload, tr("Upload Files…"), {}, {Qt::CTRL | Qt::Key_U}, QAction::NormalPriority))
    , uploadFolder(make(this, Symbol::folderUpload, tr("Upload Folder…"), {}, {Qt::CTRL | Qt::SHIFT | Qt::Key_U}))
    , download(make(this, Symbol::download, tr("Download"), {}, {Qt::CTRL | Qt::Key_D}, QAction::NormalPriority))
    , unfinishedUploads(make(this, Symbol::unfinished, tr("Unfinished Uploads…"), {}))
    , copyName(make(this, tr("Copy Name"), tr("Copy the names of the selected rows")))
    , copyPath(make(this, tr("Copy Path"), tr("Copy the whole paths of the selected rows")))
    , editPath(make(this, tr("Enter a Path"), tr("Type the folder to go to"), {Qt::CTRL | Qt::Key_L}))
    , filter(make(this, tr("Filter"), tr("Show only names that hold a text"), {Qt::CTRL | Qt::Key_F}))
    , allVersions(
          make(this, tr("All Versions"), tr("Show every version and hide marker"), {Qt::CTRL | Qt::SHIFT | Qt::Key_V}))
{
    allVersions->setCheckable(true);
    // The tool bar of the smallest window has no room for more words.
    upload->setIconText(tr("Upload…"));
}

QList<QAction*> BrowserCommands::all() const
{
    return {back, forward, up, refresh, open, upload, uploadFolder, download, unfinishedUploads, copyName, copyPath,
        editPath, filter, allVersions};
}

void BrowserCommands::update(const BrowserModel& model, const std::vector<const BrowserRow*>& selected)
{
    const bool hasBucket = model.bucket->has_value() && *model.session;
    const QString noBucket = tr("Open a bucket first");
    allow(*back, model.canGoBack(), tr("There is no folder before this one"));
    allow(*forward, model.canGoForward(), tr("There is no folder after this one"));
    for (auto* action : {refresh, editPath, filter, allVersions})
        allow(*action, hasBucket, noBucket);
    allVersions->setChecked(*model.mode == BrowserMode::allVersions);

    const auto root = model.rootPrefix();
    allow(*up,
        model.canGoUp()    ? std::nullopt
            : root.empty() ? std::optional(fromQString(tr("This is the top of the bucket")))
                           : std::optional("This key reaches only names that begin with \"" + shownText(root) + "\""));
    if (!hasBucket) {
        for (auto* action : {upload, uploadFolder, download, unfinishedUploads})
            allow(*action, false, noBucket);
    } else {
        const auto& key = (*model.session)->authorization;
        allow(*upload, uploadRefusal(key), tr("Upload files into %1").arg(placeOf(model)));
        allow(
            *uploadFolder, uploadRefusal(key), tr("Upload a folder with everything in it into %1").arg(placeOf(model)));
        allow(*download, downloadRefusal(key, selected), downloadHelp(selected));
        allow(*unfinishedUploads, listRefusal(key),
            tr("Resume or cancel uploads to this bucket that stopped before they finished"));
    }
    allow(*open, selected.size() == 1 && selected.front()->kind == RowKind::folder, tr("Select one folder to open"));
    for (auto* action : {copyName, copyPath})
        allow(*action, !selected.empty(), tr("Select the rows to copy"));
}
