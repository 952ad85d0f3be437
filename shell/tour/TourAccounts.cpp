#include "shell/tour/Tour.h"

#include "accounts/switcher/views/KeySwitcherHeader.h"
#include "accounts/switcher/views/KeySwitcherList.h"
#include "accounts/switcher/views/KeySwitcherPopover.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/Pane.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/log/ActivityLogWindow.h"
#include "shell/tour/TourHands.h"
#include "shell/window/DetailArea.h"
#include "shell/window/HelpWindow.h"
#include "shell/window/Sidebar.h"
#include "transfers/views/TransfersView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTreeView>

using namespace TourHands;

namespace {

/// Opens the switcher and picks the key with that name.
Task<bool> pickKey(MainWindow& window, QString name)
{
    auto& switcher = window.sidebar().switcher();
    click(switcher);
    co_await until([&] { return switcher.popover() && switcher.popover()->isVisible(); });
    if (!switcher.popover())
        co_return false;
    // Changes of the last switch may not have reached the rows yet.
    co_await settle();
    const QPointer<KeySwitcherList> list = switcher.popover()->findChild<KeySwitcherList*>();
    co_await until([&] { return !list || rowOf(*list->model(), name).isValid(); });
    if (list && rowOf(*list->model(), name).isValid()) {
        clickRow(*list, rowOf(*list->model(), name));
        co_return true;
    }
    if (switcher.popover())
        switcher.popover()->close();
    co_return false;
}

} // namespace

Task<> Tour::switchKeys()
{
    auto& root = *application_.root;
    const auto isOn = [&](const char* label) {
        const auto session = *root.keyStore.session;
        return session && session->key->label == label && *root.buckets.session == session
            && !root.buckets.buckets->empty() && isListed();
    };

    auto& switcher = window_.sidebar().switcher();
    click(switcher);
    co_await check("open the key switcher", [&] { return switcher.popover() && switcher.popover()->isVisible(); });
    if (auto* const popover = switcher.popover()) {
        co_await picture(*popover, "key-switcher");
        press(*popover, Qt::Key_Escape);
        co_await settle();
    }

    co_await pickKey(window_, QStringLiteral("photos-reader"));
    co_await check("switch to a key for one bucket, which sees no other",
        [&] { return isOn("photos-reader") && root.buckets.buckets->size() == 1; });
    co_await showBucket("photos");
    co_await picture(window_, "restricted-key");

    co_await pickKey(window_, QStringLiteral("letters-inbox"));
    co_await until([&] { return isOn("letters-inbox"); });
    co_await showBucket("documents");
    co_await check("open a key with a prefix at its prefix",
        [&] { return isOn("letters-inbox") && *root.browser.prefix == "Letters/"; });

    co_await pickKey(window_, QStringLiteral("Second account"));
    co_await check("switch to a second account and see its buckets alone", [&] {
        return isOn("Second account") && root.buckets.buckets->size() == 1
            && root.buckets.buckets->front().bucketName == "neighbours-bucket"
            && root.detailState().notice.title == "Select a Bucket";
    });
    co_await picture(window_, "select-a-bucket");
    co_await showBucket("neighbours-bucket");

    co_await application_.keychain->save("0044a1b2c3d4e5f0000000099", "K004nothing", "Revoked key", std::nullopt);
    application_.context->keysChangedTick = *application_.context->keysChangedTick + 1;
    co_await until([&] { return application_.context->keyMenu->size() >= 9; });
    co_await pickKey(window_, QStringLiteral("Revoked key"));
    co_await check("say why a key does not work, and go on with the one in use",
        [&] { return root.storedKeys.switchFailure().has_value() && isOn("Second account"); });
    co_await picture(window_, "switch-refused");

    co_await pickKey(window_, QStringLiteral("Master key"));
    co_await check("switch back", [&] { return isOn("Master key") && root.buckets.buckets->size() >= 6; });
    co_await showBucket("documents");
}

Task<> Tour::readTheLog()
{
    press(window_, Qt::Key_L, Qt::ControlModifier | Qt::ShiftModifier);
    co_await check("open the activity log with Ctrl+Shift+L", [&] { return window_.logWindow().isVisible(); });
    auto& log = window_.logWindow();
    log.resize(980, 560);
    auto* const table = log.findChild<QTreeView*>();
    auto* const search = log.findChild<SearchField*>();
    if (!table || !search)
        throw std::runtime_error("the log window lacks its table or its search field");
    const int all = table->model()->rowCount();
    co_await picture(log, "activity-log");
    type(*search, QStringLiteral("KRAKÓW"));
    co_await check("find what happened to one file, whatever its case",
        [&] { return table->model()->rowCount() > 0 && table->model()->rowCount() < all; });
    bool holdsSecret = false;
    for (const auto& entry : application_.log->entries()) {
        for (const auto& key : application_.demo->secrets())
            holdsSecret = holdsSecret || entry.formatted().find(key) != std::string::npos;
    }
    report("no secret is in the log", !holdsSecret, "one is");
    search->clear();
    log.close();
}

Task<> Tour::lookAround()
{
    co_await showBucket("photos");
    HelpWindow::open(&window_);
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        if (auto* const help = qobject_cast<HelpWindow*>(widget)) {
            co_await picture(*help, "help");
            help->close();
        }
    }
    for (auto* const button : window_.transfers().findChildren<QPushButton*>()) {
        if (button->text() == QStringLiteral("Clear Finished"))
            click(*button);
    }
    co_await check("clear the transfers that have ended", [&] { return application_.queue->transfers->empty(); });
    co_await picture(window_, "no-transfers");

    openFolder("2025");
    co_await until([&] { return *application_.root->browser.prefix == "2025/" && isListed(); });
    co_await settle();
    openFolder("Garden 🌻");
    co_await until([&] { return *application_.root->browser.prefix == "2025/Garden 🌻/" && isListed(); });
    theme_.setScheme(ColorScheme::dark);
    co_await picture(window_, "dark");
    window_.showActivityLog();
    co_await picture(window_.logWindow(), "dark-activity-log");
    window_.logWindow().close();
    press(window_, Qt::Key_3, Qt::ControlModifier);
    const auto isManagingKeys = [&] {
        const auto* const front = window_.detail().front();
        return front == &window_.detail().pane(AccountSurface::keys) && front->commands().objectMenuTitle;
    };
    co_await check("reach the account's keys with Ctrl+3, and their menu", isManagingKeys);
    co_await picture(window_, "dark-keys");
    co_await showBucket("a-bucket-whose-name-is-just-as-long-as-the-service-allows-it-to");
    window_.resize(860, 560);
    co_await picture(window_, "dark-small");
    theme_.setScheme(ColorScheme::light);
    co_await picture(window_, "small");
    window_.resize(windowSize);
    application_.settings->set(SettingsKeys::toolbarLabels, PaneToolBar::labelsText(PaneToolBar::Labels::iconOnly));
    const auto* const bar = window_.findChild<PaneToolBar*>();
    co_await check("show the toolbar as icons", [&] { return bar->toolButtonStyle() == Qt::ToolButtonIconOnly; });
    co_await picture(window_, "icons-only");
    application_.settings->set(SettingsKeys::toolbarLabels, PaneToolBar::labelsText(PaneToolBar::Labels::titleAndIcon));

    press(window_, Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier);
    co_await check("hide the transfers with Ctrl+Shift+T", [&] { return !window_.transfers().isVisible(); });
    press(window_, Qt::Key_F, Qt::ControlModifier);
    auto* const filter = window_.detail().browser().findChild<SearchField*>();
    co_await check("reach the filter with Ctrl+F", [&] { return filter && filter->hasFocus(); });
}
