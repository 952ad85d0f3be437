// bench_rows BUCKET PREFIX COUNT: loads, sorts and scrolls a folder of that many files in the program's own table.
// Prints the longest stall of the main thread in each phase: its name and milliseconds.

#include "bench/BenchClient.h"
#include "bench/StallWatch.h"
#include "browser/BrowserModel.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/MainExecutor.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "foundation/views/style/Theme.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QApplication>
#include <QScrollBar>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

struct ShownBrowser {
    explicit ShownBrowser(const std::filesystem::path& directory)
        : settings(directory / "settings.json")
        , log(settings, directory / "log")
        , model(settings)
        , view(model, settings, log)
    {
        view.resize(1180, 760);
        view.show();
    }

    Settings settings;
    ActivityLog log;
    BrowserModel model;
    ObjectBrowserView view;
    StallWatch watch;
};

Task<> pause(double seconds)
{
    SystemSleeper sleeper;
    co_await sleeper.sleep(seconds);
}

Task<> load(ShownBrowser* pane, std::string prefix)
{
    auto& model = pane->model;
    pane->watch.begin("load");
    model.navigate(std::move(prefix));
    while (*model.isLoading || *model.hasMore) {
        model.loadMore();
        co_await pause(0.002);
    }
}

/// Scrolls through the whole table and back, in steps that the eye could still follow.
Task<> scroll(ShownBrowser* pane)
{
    pane->watch.begin("scroll");
    auto* const bar = pane->view.table().verticalScrollBar();
    constexpr int strides = 300;
    for (int i = 0; i <= 2 * strides; ++i) {
        bar->setValue(static_cast<int>(std::int64_t{bar->maximum()} * (i <= strides ? i : 2 * strides - i) / strides));
        co_await pause(0.004);
    }
}

Task<> sort(ShownBrowser* pane, std::string column, bool isAscending)
{
    auto& model = pane->model;
    pane->watch.begin("sort-" + column);
    const auto before = *model.rows.shown;
    model.setSortOrder({{column, isAscending}});
    while (*model.rows.shown == before)
        co_await pause(0.002);
    co_await pause(0.2); // The view renders in a later turn.
}

Task<> filter(ShownBrowser* pane, std::string text, std::size_t count)
{
    pane->watch.begin("filter");
    pane->model.setFilter(std::move(text));
    co_await pause(0.2);
    if (pane->model.rows.shown->size() >= count)
        throw std::runtime_error("The filter let everything through.");
    pane->model.setFilter({});
    co_await pause(0.2);
}

Task<> drive(ShownBrowser* pane, std::string bucketName, std::string prefix, std::size_t count)
{
    const auto client = makeBenchClient();
    auto authorization = co_await client->authorized();
    const auto buckets = co_await client->listBuckets(bucketName);
    const StoredKey key{.keyID = client->keyID(), .label = "Bench", .accountID = authorization.accountID};
    pane->model.open(std::make_shared<B2Session>(key, client, std::move(authorization)), buckets.at(0));
    co_await pause(0.5); // What the window needs once, fonts and the like, is not counted here.

    co_await load(pane, std::move(prefix));
    if (pane->model.rows.shown->size() != count)
        throw std::runtime_error("Not all rows were loaded.");
    co_await scroll(pane);
    co_await sort(pane, "name", false);
    co_await sort(pane, "size", true);
    co_await sort(pane, "modified", true);
    co_await sort(pane, "state", true);
    co_await sort(pane, "name", true);
    co_await filter(pane, "77", count);
    pane->watch.end();
    for (const auto& phase : pane->watch.phases())
        std::printf("%s %.1f\n", phase.name.c_str(), static_cast<double>(phase.longestMicroseconds) / 1000);
}

} // namespace

int main(int count, char** words)
{
    if (count != 4)
        return 2;
    Theme::prepareApplication();
    const QApplication application(count, words);
    const Theme theme;
    const QTemporaryDir directory;
    ShownBrowser pane(directory.path().toStdString());
    spawn(MainExecutor::shared(), drive(&pane, words[1], words[2], static_cast<std::size_t>(std::atol(words[3]))),
        [](const std::exception_ptr& failure) {
            if (failure)
                std::fprintf(stderr, "%s\n", describe(failure).c_str());
            QApplication::exit(failure ? 1 : 0);
        });
    return QApplication::exec();
}
