// The half of the pane that offers commands and opens the sheets they need.

#include "accounts/keys/views/KeyDetailsView.h"
#include "accounts/keys/views/KeysView.h"
#include "accounts/keys/views/NewKeyView.h"
#include "foundation/QtText.h"
#include "foundation/views/panes/PaneSlots.h"
#include "foundation/views/sheets/RunSheet.h"
#include "foundation/views/sheets/Sheet.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

void KeysView::updateCommands(const KeysPane& pane, int selected)
{
    const auto* const row = targetRow();
    const auto help = [](std::string_view text) { return toQString(text); };
    const auto unless = [](bool isAllowed, const QString& reason) {
        return isAllowed ? std::nullopt : std::optional(fromQString(reason));
    };
    const QString chooseOne = tr("Select one key");

    auto deleteRefusal = pane.deleteRefusal;
    if (!deleteRefusal && row && !row->isSelectable())
        deleteRefusal = std::string(currentKeyRefusal);
    if (!deleteRefusal)
        deleteRefusal = unless(selected > 0, tr("Select the keys to delete"));
    const auto relation = [&](KeyRelation otherwise) { return help(relationHelp(row ? row->relation : otherwise)); };

    PaneCommands commands;
    commands.newItem =
        makeCommand(tr("New Application Key…"), help(KeysPane::newHelp), pane.newRefusal, [this] { askForNewKey(); });
    commands.remove = makeCommand(tr("Delete"), help(KeysPane::deleteHelp), deleteRefusal, [this] { askToDelete(); });
    commands.refresh = makeCommand(tr("Refresh"), help(KeysPane::refreshHelp), pane.refreshRefusal, [this] {
        model_.dismissError();
        refresh();
    });
    commands.getInfo = makeCommand(
        tr("Show Details"), tr("Show this key's details"), unless(row, chooseOne), [this] { showDetails(); });
    commands.rename = makeCommand(tr("Rename Key…"), tr("Give this key another name in Kestrovan"),
        unless(row && row->stored,
            row ? tr("Only a key that Kestrovan holds can have a name of its own here") : chooseOne),
        [this] {
            if (const auto* const target = targetRow(); target && target->stored)
                Q_EMIT renameSheetRequested(*target->stored);
        });
    commands.copyItems =
        makeCommand(tr("Copy keyID"), tr("Copy the keyID of this key"), unless(row, chooseOne), [this] {
            if (const auto* const target = targetRow())
                QGuiApplication::clipboard()->setText(toQString(target->key.applicationKeyID));
        });
    commands.objectMenuTitle = tr("&Keys");
    commands.newObject = withSlot(commands, &PaneCommands::newItem);
    commands.editObject = withSlot(commands, &PaneCommands::rename);
    commands.deleteObject = withSlot(commands, &PaneCommands::remove);
    auto switchTo = makeCommand(tr("Switch to This Key"), {},
        unless(row && row->canSwitch(), relation(KeyRelation::held)), [this] { switchToTarget(); });
    switchTo.help = relation(KeyRelation::held);
    switchTo.symbol = Symbol::plug;
    auto add = makeCommand(tr("Add to Kestrovan…"), {}, unless(row && row->canAdd(), relation(KeyRelation::notHeld)),
        [this] { addTarget(); });
    add.help = relation(KeyRelation::notHeld);
    add.symbol = Symbol::key;
    auto useServiceName = makeCommand(tr("Use This Name in Kestrovan"), help(storedNameHelp),
        unless(row && row->canTakeName(), help(storedNameHelp)), [this] {
            if (const auto* const target = targetRow(); target && target->canTakeName())
                Q_EMIT renameRequested(*target->stored, toQString(target->key.keyName));
        });
    commands.moreObjectCommands = {std::move(switchTo), std::move(add), std::move(useServiceName)};
    publish(std::move(commands));
}

void KeysView::switchToTarget()
{
    if (const auto* const row = targetRow(); row && row->canSwitch())
        Q_EMIT switchRequested(toQString(row->key.applicationKeyID));
}

void KeysView::addTarget()
{
    if (const auto* const row = targetRow(); row && row->canAdd())
        Q_EMIT addRequested(toQString(row->key.applicationKeyID), toQString(row->key.keyName));
}

void KeysView::showMenu(const QPoint& position)
{
    using C = PaneCommands;
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    if (const auto* const row = targetRow()) {
        addCommand(*menu, commands(), &C::getInfo);
        if (row->stored)
            addCommand(*menu, commands(), &C::rename);
        for (const auto& command : commands().moreObjectCommands) {
            if (command.isEnabled)
                addCommand(*menu, command);
        }
        addCommand(*menu, commands(), &C::copyItems);
        menu->addSeparator();
    }
    addCommand(*menu, commands(), &C::remove);
    menu->addSeparator();
    addCommand(*menu, commands(), &C::newItem);
    addCommand(*menu, commands(), &C::refresh);
    menu->popup(position);
}

void KeysView::askForNewKey()
{
    if (newSheet_ || !commands().newItem->isEnabled)
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
    // Over the window, because the secret must be seen whatever pane is in front.
    createdSheet_ = new CreatedKeyView(**model_.created, addKey_, store_.keychain().place(), window());
    createdSheet_->setAttribute(Qt::WA_DeleteOnClose);
    connect(createdSheet_, &QDialog::accepted, this, [this] {
        if (*model_.created)
            reveal((*model_.created)->key.applicationKeyID);
        model_.forgetCreated();
        takeFocus();
    });
    createdSheet_->open();
}

void KeysView::askToDelete()
{
    const auto keys = selectedKeys();
    if (keys.empty() || !commands().remove->isEnabled)
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
        sheet->setVerb(tr("Switch to This Key"));
    else if (row->canAdd())
        sheet->setVerb(tr("Add to Kestrovan…"));
    connect(sheet, &Sheet::verbTriggered, this, [this, sheet, id, name, isHeld = row->canSwitch()] {
        sheet->accept();
        if (isHeld)
            Q_EMIT switchRequested(id);
        else
            Q_EMIT addRequested(id, name);
    });
    sheet->open();
}
