#include "shell/window/DetailArea.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "accounts/keys/views/KeysView.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTimer>

namespace {

/// Why a key just made could not be stored, or nothing.
Task<std::optional<std::string>> storeCreated(KeyStore* store, B2CreatedApplicationKey created)
{
    std::exception_ptr failure;
    try {
        co_await store->addWithoutSwitching(
            created.key.keyName, created.key.applicationKeyID, Secret(std::move(created.applicationKey)));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    co_return failure ? std::optional(addKeyMessage(failure, true)) : std::nullopt;
}

} // namespace

DetailArea::DetailArea(RootModel& root, Settings& settings, QWidget* parent)
    : QStackedWidget(parent)
    , root_(root)
    , blank_(new QWidget(this))
    , notice_(new EmptyState(this))
    , browser_(new ObjectBrowserView(root.browser, settings, this))
    , keys_(new KeysView(root.keys, root.keyStore, settings, this))
    , patience_(new QTimer(this))
{
    addWidget(blank_);
    addWidget(notice_);
    addWidget(browser_);
    addWidget(keys_);
    keys_->setAddKey(
        [store = &root.keyStore](B2CreatedApplicationKey created) { return storeCreated(store, std::move(created)); });
    patience_->setSingleShot(true);
    patience_->setInterval(200);
    connect(patience_, &QTimer::timeout, this, [this] {
        const bool isConnecting = !*root_.keyStore.session;
        notice_->showText(
            isConnecting ? Symbol::plug : Symbol::cloud, isConnecting ? tr("Connecting…") : tr("Loading buckets…"), {});
        notice_->setActions({});
        setCurrentWidget(notice_);
    });
    connect(notice_, &EmptyState::firstActionTriggered, this, &DetailArea::act);
    connect(notice_, &EmptyState::secondActionTriggered, this, &DetailArea::addKeyRequested);
    connect(&root_, &Observable::changed, this, &DetailArea::render);
    render();
}

void DetailArea::takeFocus()
{
    QWidget* const page = currentWidget();
    if (page == keys_) {
        keys_->takeFocus();
        return;
    }
    if (page == browser_ && browser_->table().isVisible()) {
        browser_->table().setFocus(Qt::OtherFocusReason);
        return;
    }
    for (auto* const button : page->findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->isEnabled() && button->focusPolicy() != Qt::NoFocus) {
            button->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
}

void DetailArea::render()
{
    const DetailState state = root_.detailState();
    // Names of another account's buckets say nothing about this one's keys.
    keys_->setBuckets(
        *root_.buckets.session == *root_.keyStore.session ? *root_.buckets.buckets : std::vector<B2Bucket>());
    if (state.kind != DetailState::Kind::connecting)
        patience_->stop();
    switch (state.kind) {
    case DetailState::Kind::nothing:
    case DetailState::Kind::welcome: // Fills the window, so that this pane is not seen.
        setCurrentWidget(blank_);
        break;
    case DetailState::Kind::connecting:
        if (!patience_->isActive() && shown_.kind != state.kind)
            patience_->start();
        break;
    case DetailState::Kind::notice:
        showNotice(state);
        break;
    case DetailState::Kind::browser:
        setCurrentWidget(browser_);
        break;
    case DetailState::Kind::keys:
        setCurrentWidget(keys_);
        break;
    }
    const bool hasNewAction = state.action != DetailState::Action::none && state.action != shown_.action;
    shown_ = state;
    // What stands in the way of everything else is what Return does.
    if (hasNewAction && !*root_.keyStore.session && !QApplication::activePopupWidget())
        takeFocus();
}

void DetailArea::act()
{
    switch (shown_.action) {
    case DetailState::Action::none:
        break;
    case DetailState::Action::connectAgain:
        root_.tryAgain();
        break;
    case DetailState::Action::readBuckets:
        root_.reloadBuckets();
        break;
    case DetailState::Action::readKeys:
        root_.storedKeys.reloadAskingAgain();
        break;
    case DetailState::Action::stopWaiting:
        root_.storedKeys.stopWaiting();
        break;
    case DetailState::Action::unlock:
        Q_EMIT unlockRequested();
        break;
    }
}

void DetailArea::showNotice(const DetailState& state)
{
    using Action = DetailState::Action;
    const auto& notice = state.notice;
    Symbol symbol = Symbol::key;
    if (state.action == Action::stopWaiting || state.action == Action::unlock)
        symbol = Symbol::lock;
    else if (state.action != Action::none)
        symbol = Symbol::warning;
    else if (*root_.keyStore.session)
        symbol = root_.buckets.buckets->empty() ? Symbol::storage : Symbol::bucketPrivate;
    notice_->showText(symbol, toQString(notice.title), toQString(notice.text));
    notice_->setActions(toQString(verbOf(state.action)), notice.offersAddKey ? tr("Add Key…") : QString());
    setCurrentWidget(notice_);
}
