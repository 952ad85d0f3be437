#include "shell/tour/Tour.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/tour/TourHands.h"
#include "shell/window/DetailArea.h"

#include <QAction>
#include <QLineEdit>
#include <QScrollBar>

using namespace TourHands;

Task<> Tour::connectAndBrowse()
{
    auto& browser = application_.root->browser;
    auto& table = window_.detail().browser().table();
    const bool isConnected = co_await check("connect with the demonstration's key and list its buckets", [&] {
        return *application_.root->keyStore.session && application_.root->buckets.buckets->size() >= 6
            && *browser.bucket && isListed();
    });
    if (!isConnected)
        throw std::runtime_error("without a connection there is nothing to see");

    co_await showBucket("photos");
    co_await check("show the folders of a bucket", [&] { return row("2025").isValid(); });
    co_await picture(window_, "buckets-and-folders");

    openFolder("2025");
    co_await check("open a folder with Enter", [&] { return *browser.prefix == "2025/" && isListed(); });
    openFolder("Grüße aus Österreich");
    co_await check("open a folder with umlauts in its name",
        [&] { return *browser.prefix == "2025/Grüße aus Österreich/" && table.model()->rowCount() == 27; });
    co_await picture(window_, "folder-of-pictures");

    press(table, Qt::Key_Backspace);
    co_await check("go up with Backspace, onto the folder one came from", [&] {
        return *browser.prefix == "2025/" && isListed()
            && table.currentIndex().siblingAtColumn(0).data().toString() == QStringLiteral("Grüße aus Österreich");
    });
    press(window_, Qt::Key_Left, Qt::AltModifier);
    co_await check("go back with Alt+Left", [&] { return browser.prefix->ends_with("Österreich/") && isListed(); });
    press(window_, Qt::Key_Right, Qt::AltModifier);
    co_await check("go forward with Alt+Right", [&] { return *browser.prefix == "2025/" && isListed(); });

    co_await showBucket("documents");
    openFolder("Novel");
    co_await until([&] { return *browser.prefix == "Novel/" && isListed(); });
    press(window_, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    co_await check("show every version with Ctrl+Shift+V",
        [&] { return *browser.mode == BrowserMode::allVersions && isListed() && table.model()->rowCount() == 17; });
    co_await picture(window_, "all-versions");
    press(window_, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    co_await check("go back to the current files",
        [&] { return *browser.mode == BrowserMode::current && isListed() && table.model()->rowCount() == 11; });
}

Task<> Tour::readManyNames()
{
    auto& browser = application_.root->browser;
    auto& view = window_.detail().browser();
    co_await showBucket("backups");
    press(window_, Qt::Key_L, Qt::ControlModifier);
    auto* const field = view.findChild<PathBar*>()->findChild<QLineEdit*>();
    if (field) {
        field->selectAll();
        type(*field, QStringLiteral("server/sensor log/"));
        press(*field, Qt::Key_Return);
    }
    co_await check(
        "go to a typed path with Ctrl+L", [&] { return *browser.prefix == "server/sensor log/" && isListed(); });
    co_await check("show the first thousand names of a long folder",
        [&] { return view.table().model()->rowCount() == 1000 && *browser.hasMore; });
    co_await picture(window_, "long-folder");
    for (int pages = 0; pages < 3 && *browser.hasMore; ++pages) {
        view.table().verticalScrollBar()->setValue(view.table().verticalScrollBar()->maximum());
        co_await until(
            [&] { return isListed() && view.table().model()->rowCount() >= std::min((pages + 2) * 1000, 2500); });
    }
    co_await check("load the rest by scrolling to the end",
        [&] { return view.table().model()->rowCount() == 2500 && !*browser.hasMore; });
}
