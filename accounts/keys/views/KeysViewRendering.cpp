// The half of the pane that copies the model's state to the widgets.

#include "accounts/keys/views/KeysView.h"
#include "accounts/keys/views/NewKeyView.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QAbstractButton>
#include <QStackedWidget>

void KeysView::render()
{
    if (dismissedError_ && *model_.error != dismissedError_)
        dismissedError_.reset();
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
    rows_.show(makeKeyRows(*model_.keys, context, order_), *model_.inFlight);
    deselectUnselectable();
    if (!revealed_)
        return;
    if (const int row = rows_.rowOf(*revealed_); row >= 0) {
        const auto index = rows_.index(row, 0);
        table_->selectionModel()->setCurrentIndex(
            index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        table_->scrollTo(index);
        revealed_.reset();
    }
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
    const bool hadFocus = table_->hasFocus() || message_->isAncestorOf(focusWidget());
    if (pane.kind != KeysPane::Kind::loading)
        patience_.stop();
    switch (pane.kind) {
    case KeysPane::Kind::loading:
        if (!patience_.isActive() && pages_->currentWidget() == table_) {
            pages_->setCurrentWidget(blank_);
            patience_.start();
        }
        break;
    case KeysPane::Kind::notice:
        showMessage(pane);
        break;
    case KeysPane::Kind::table:
        pages_->setCurrentWidget(table_);
        if (hadFocus)
            table_->setFocus(Qt::OtherFocusReason);
        break;
    }
}

void KeysView::showMessage(const KeysPane& pane)
{
    Symbol symbol = Symbol::key;
    if (pane.isFailure)
        symbol = Symbol::error;
    else if (pane.isRefused)
        symbol = Symbol::lock;
    message_->showText(symbol, toQString(pane.title), toQString(pane.text));
    QString action;
    if (pane.isFailure)
        action = tr("Try Again");
    else if (!pane.newRefusal)
        action = tr("New Application Key…");
    message_->setActions(action);
    pages_->setCurrentWidget(message_);
}

void KeysView::renderBanner(const KeysPane& pane)
{
    // The form that asked says itself why there is no key, as long as its session stands.
    if (newSheet_ && newSheet_->hasAsked() && newSheet_->session().lock() == *model_.session && !*model_.hasLoadFailed)
        dismissedError_ = *model_.error;
    if (!pane.banner || dismissedError_ == pane.banner) {
        banner_->dismiss();
        return;
    }
    const auto sentence = toQString(*pane.banner);
    if (!banner_->isVisibleTo(this) || banner_->text() != sentence)
        banner_->showMessage(MessageKind::danger, sentence, *model_.hasLoadFailed ? tr("Try Again") : QString());
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

void KeysView::takeFocus()
{
    if (pages_->currentWidget() == table_) {
        table_->setFocus(Qt::OtherFocusReason);
        return;
    }
    for (auto* const button : message_->findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->isEnabled()) {
            button->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
    setFocus(Qt::OtherFocusReason);
}

void KeysView::showEvent(QShowEvent* event)
{
    Pane::showEvent(event);
    render();
}
