// The half of the pane that copies the model's state to the widgets.

#include "accounts/keys/views/KeysView.h"
#include "accounts/keys/views/NewKeyView.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QItemSelectionModel>

void KeysView::render()
{
    const KeysPane pane(model_, *store_.session);
    loading_->setLoading(*model_.isLoading && *model_.session == *store_.session);
    renderRows(pane);
    renderContent(pane);
    renderBanner(pane);
    renderSelection();
    loadIfNeeded();
    if (!*model_.created)
        return;
    if (newSheet_)
        newSheet_->accept();
    if (!createdSheet_)
        showCreated();
    createdSheet_->showTwinNote(toQString(model_.twinNote->value_or("")));
}

void KeysView::renderRows(const KeysPane& pane)
{
    const auto session = *store_.session;
    if (pane.kind != KeysPane::Kind::table) {
        rows_.show({}, {});
        return;
    }
    const KeyRowsContext context{.stored = *store_.keys,
        .currentKeyID = session->key->keyID,
        .buckets = buckets_,
        .now = std::chrono::system_clock::now()};
    rows_.show(makeKeyRows(*model_.keys, context, tableState_->order()), *model_.inFlight);
    deselectUnselectable();
    revealIfListed();
}

// A row that was selected before it became the session's own, or before its deletion began.
void KeysView::deselectUnselectable()
{
    auto* const selection = table_->selectionModel();
    for (int row = 0; row < rows_.rowCount(); ++row) {
        const auto index = rows_.index(row, 0);
        if (!rows_.isSelectable(row) && selection->isSelected(index))
            selection->select(index, QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
    }
}

void KeysView::renderContent(const KeysPane& pane)
{
    switch (pane.kind) {
    case KeysPane::Kind::loading:
        showWaiting({Symbol::key, tr("Reading the account's keys…"), {}, {}, {}});
        break;
    case KeysPane::Kind::notice:
        showNoticePage(pane);
        break;
    case KeysPane::Kind::table:
        showTable();
        break;
    }
}

void KeysView::showNoticePage(const KeysPane& pane)
{
    Symbol symbol = Symbol::key;
    if (pane.isFailure)
        symbol = Symbol::error;
    else if (pane.isRefused)
        symbol = Symbol::lock;
    QString action;
    if (pane.isFailure)
        action = tr("Try Again");
    else if (!pane.newRefusal)
        action = tr("New Application Key…");
    showMessage({symbol, toQString(pane.title), toQString(pane.text), action, {}});
}

void KeysView::renderBanner(const KeysPane& pane)
{
    // While the form is open, it shows itself why there is no key.
    if (newSheet_ && newSheet_->hasAsked() && newSheet_->session().lock() == *model_.session && !*model_.hasLoadFailed)
        dismissFailure(*model_.error);
    showFailure(pane.banner, *model_.hasLoadFailed ? tr("Try Again") : QString());
}

void KeysView::renderSelection()
{
    const KeysPane pane(model_, *store_.session);
    const auto selected = static_cast<int>(selectedKeys().size());
    updateCommands(pane, selected);
    if (pane.kind != KeysPane::Kind::table) {
        status_->setText({});
        status_->setDetail({});
        return;
    }
    const auto count = toQString(countText(rows_.rowCount(), "key", "keys"));
    status_->setText(selected > 0 ? tr("%1 of %2 selected").arg(selected).arg(count) : count);
    const auto deleting = static_cast<int>(model_.inFlight->size());
    status_->setDetail(
        deleting > 0 ? tr("Deleting %1…").arg(toQString(countText(deleting, "key", "keys"))) : QString());
}

void KeysView::loadIfNeeded()
{
    const auto session = *model_.session;
    if (!isVisible() || !session || session != *store_.session || session == askedFor_.lock())
        return;
    askedFor_ = session;
    refresh();
}

void KeysView::showEvent(QShowEvent* event)
{
    TablePane::showEvent(event);
    render();
}
