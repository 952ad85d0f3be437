// The half of the pane that offers commands and opens the sheets they need.

#include "accounts/keys/views/KeyDetailsView.h"
#include "accounts/keys/views/KeysCommands.h"
#include "accounts/keys/views/KeysView.h"
#include "accounts/keys/views/NewKeyView.h"
#include "foundation/QtText.h"
#include "foundation/views/Sheet.h"
#include "foundation/views/panes/PaneToolBar.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

void KeysView::buildToolBar()
{
    toolBar_->setAccessibleName(tr("Commands for keys"));
    toolBar_->addGroup({commands_->newKey, commands_->remove});
    toolBar_->addGroup({commands_->switchTo, commands_->add, commands_->details});
    toolBar_->addSpacer();
    toolBar_->addAction(commands_->refresh);
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
}

void KeysView::updateCommands(const KeysPane& pane, int selected)
{
    commands_->update(pane, selected, targetRow());
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
    // Over the window, since the secret must be seen whatever pane is shown by now.
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
    auto keys = selectedKeys();
    if (keys.empty() || !commands_->remove->isEnabled())
        return;
    const DeleteKeysQuestion question(keys);
    auto* const sheet = new Sheet(toQString(question.title), toQString(question.text), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setObjectName(QStringLiteral("deleteKeys"));
    sheet->setDestructiveVerb(toQString(question.button));
    connect(sheet, &Sheet::verbTriggered, sheet, &QDialog::accept);
    connect(sheet, &QDialog::accepted, this, [this, keys = std::move(keys), session = *model_.session] {
        // The question was about keys of this account.
        if (*model_.session == session)
            tasks_.start(model_.remove(keys));
    });
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
