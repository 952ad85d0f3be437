#include "accounts/keys/views/KeysCommands.h"

#include "accounts/keys/KeyRows.h"
#include "accounts/keys/KeysPane.h"
#include "foundation/QtText.h"
#include "foundation/views/style/Icons.h"

namespace {

QAction* make(QObject* parent, Symbol symbol, const QString& text, const QString& tip,
    const QList<QKeySequence>& keys = {}, QAction::Priority priority = QAction::NormalPriority)
{
    auto* const action = new QAction(symbolIcon(symbol), text, parent);
    action->setToolTip(tip);
    action->setProperty("tip", tip);
    action->setShortcuts(keys);
    action->setPriority(priority);
    return action;
}

QString toText(std::string_view text)
{
    return toQString(text);
}

void allow(QAction& action, const std::optional<std::string>& refusal, bool hasTarget = true)
{
    action.setEnabled(!refusal && hasTarget);
    action.setToolTip(refusal ? toQString(*refusal) : action.property("tip").toString());
}

} // namespace

KeysCommands::KeysCommands(QObject* parent)
    : QObject(parent)
    , newKey(make(this, Symbol::add, tr("New Application Key…"), toText(KeysPane::newHelp), {Qt::CTRL | Qt::Key_N}))
    , remove(make(this, Symbol::trash, tr("Delete"), toText(KeysPane::deleteHelp),
          {Qt::Key_Delete, Qt::SHIFT | Qt::Key_Delete}))
    , refresh(make(this, Symbol::refresh, tr("Refresh"), toText(KeysPane::refreshHelp),
          {Qt::Key_F5, Qt::CTRL | Qt::Key_R}, QAction::LowPriority))
    , details(make(this, Symbol::info, tr("Show Details"), tr("Show this key's details"),
          {Qt::ALT | Qt::Key_Return, Qt::ALT | Qt::Key_Enter}, QAction::LowPriority))
    , switchTo(make(this, Symbol::plug, tr("Switch to This Key"), toText(relationHelp(KeyRelation::held))))
    , add(make(this, Symbol::key, tr("Add to Kestrovan…"), toText(relationHelp(KeyRelation::notHeld))))
    , rename(make(this, Symbol::key, tr("Rename Key…"), tr("Give this key another name in Kestrovan"), {Qt::Key_F2}))
    , takeName(make(this, Symbol::check, tr("Use This Name in Kestrovan"), toText(storedNameHelp)))
    , copyID(make(this, Symbol::copy, tr("Copy keyID"), tr("Copy the keyID of this key")))
{
    // Del in the list of transfers is not about keys.
    remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
}

QList<QAction*> KeysCommands::all() const
{
    return {newKey, remove, refresh, details, switchTo, add, rename, takeName, copyID};
}

void KeysCommands::update(const KeysPane& pane, int selected, const KeyRow* row)
{
    allow(*newKey, pane.newRefusal);
    allow(*refresh, pane.refreshRefusal);
    const bool isCurrent = row && !row->isSelectable();
    allow(*remove,
        !pane.deleteRefusal && isCurrent ? std::optional(std::string(currentKeyRefusal)) : pane.deleteRefusal,
        selected > 0);
    for (auto* const action : {details, copyID})
        action->setEnabled(row != nullptr);
    switchTo->setEnabled(row && row->canSwitch());
    switchTo->setToolTip(toQString(relationHelp(row ? row->relation : KeyRelation::held)));
    add->setEnabled(row && row->canAdd());
    add->setToolTip(toQString(relationHelp(row ? row->relation : KeyRelation::notHeld)));
    rename->setEnabled(row && row->stored);
    rename->setToolTip(row && !row->stored ? tr("Only a key that Kestrovan holds can have a name of its own here")
                                           : rename->property("tip").toString());
    takeName->setEnabled(row && row->canTakeName());
}

void KeysCommands::setVisible(bool visible)
{
    for (auto* const action : all())
        action->setVisible(visible);
}
