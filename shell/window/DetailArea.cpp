#include "shell/window/DetailArea.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/Pane.h"
#include "shell/Application.h"

#include <QAbstractButton>
#include <QApplication>

namespace {

constexpr int patienceMilliseconds = 200;

} // namespace

DetailArea::DetailArea(const PaneParts& parts, QWidget* parent)
    : QStackedWidget(parent)
    , parts_(parts)
    , blank_(new QWidget(this))
    , notice_(new EmptyState(this))
    , browser_(new ObjectBrowserView(
          parts.application.root->browser, *parts.application.settings, *parts.application.log, this))
{
    addWidget(blank_);
    addWidget(notice_);
    add(browser_);
    patience_.setSingleShot(true);
    patience_.setInterval(patienceMilliseconds);
    connect(&patience_, &QTimer::timeout, this, [this] {
        const bool isConnecting = !*parts_.application.root->keyStore.session;
        notice_->showText(
            isConnecting ? Symbol::plug : Symbol::cloud, isConnecting ? tr("Connecting…") : tr("Loading buckets…"), {});
        notice_->setActions({});
        bringToFront(notice_);
    });
    connect(notice_, &EmptyState::firstActionTriggered, this, &DetailArea::act);
    connect(notice_, &EmptyState::secondActionTriggered, this, &DetailArea::addKeyRequested);
    connect(parts.application.root.get(), &Observable::changed, this, &DetailArea::render);
    render();
}

void DetailArea::add(Pane* pane)
{
    addWidget(pane);
    connect(pane, &Pane::commandsChanged, this, [this, pane] {
        if (front() == pane)
            Q_EMIT commandsChanged();
    });
}

Pane& DetailArea::pane(AccountSurface surface)
{
    auto& pane = panes_[surface];
    if (!pane) {
        const auto* const entry = surfaceOf(surface);
        pane = entry ? entry->make(parts_) : new Pane;
        add(pane);
    }
    return *pane;
}

Pane* DetailArea::front() const
{
    return qobject_cast<Pane*>(currentWidget());
}

const PaneCommands& DetailArea::commands() const
{
    static const PaneCommands none;
    const auto* const pane = front();
    return pane ? pane->commands() : none;
}

void DetailArea::takeFocus()
{
    if (auto* const pane = front()) {
        pane->takeFocus();
        return;
    }
    for (auto* const button : currentWidget()->findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->isEnabled() && button->focusPolicy() != Qt::NoFocus) {
            button->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
}

void DetailArea::bringToFront(QWidget* page)
{
    if (currentWidget() == page)
        return;
    setCurrentWidget(page);
    Q_EMIT commandsChanged();
}

void DetailArea::render()
{
    const DetailState state = parts_.application.root->detailState();
    if (state.kind != DetailState::Kind::connecting)
        patience_.stop();
    switch (state.kind) {
    case DetailState::Kind::nothing:
    case DetailState::Kind::welcome: // Fills the window, so that this pane is not seen.
        bringToFront(blank_);
        break;
    case DetailState::Kind::connecting:
        if (!patience_.isActive() && shown_.kind != state.kind)
            patience_.start();
        break;
    case DetailState::Kind::notice:
        showNotice(state);
        break;
    case DetailState::Kind::pane:
        bringToFront(state.item.surface ? &pane(*state.item.surface) : browser_);
        break;
    }
    const bool hasNewAction = state.action != DetailState::Action::none && state.action != shown_.action;
    shown_ = state;
    // Return presses the button of a notice that stands in the way of everything else.
    if (hasNewAction && !*parts_.application.root->keyStore.session && !QApplication::activePopupWidget())
        takeFocus();
}

void DetailArea::act()
{
    auto& root = *parts_.application.root;
    switch (shown_.action) {
    case DetailState::Action::none:
        break;
    case DetailState::Action::connectAgain:
        root.tryAgain();
        break;
    case DetailState::Action::readBuckets:
        root.reloadBuckets();
        break;
    case DetailState::Action::readKeys:
        root.storedKeys.reloadAskingAgain();
        break;
    case DetailState::Action::stopWaiting:
        root.storedKeys.stopWaiting();
        break;
    case DetailState::Action::unlock:
        Q_EMIT unlockRequested();
        break;
    }
}

void DetailArea::showNotice(const DetailState& state)
{
    using Action = DetailState::Action;
    const auto& root = *parts_.application.root;
    const auto& notice = state.notice;
    Symbol symbol = Symbol::key;
    if (state.action == Action::stopWaiting || state.action == Action::unlock)
        symbol = Symbol::lock;
    else if (state.action != Action::none)
        symbol = Symbol::warning;
    else if (*root.keyStore.session)
        symbol = root.buckets.buckets->empty() ? Symbol::storage : Symbol::bucketPrivate;
    notice_->showText(symbol, toQString(notice.title), toQString(notice.text));
    notice_->setActions(toQString(verbOf(state.action)), notice.offersAddKey ? tr("Add Key…") : QString());
    bringToFront(notice_);
}
