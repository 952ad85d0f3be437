// bench_browse BUCKET COUNT: shows a folder of that many names in the browser pane, and loads, scrolls, sorts and
// filters it as a user would. Prints the longest time that one event held the main thread, in milliseconds, in each of
// the four.

#include "accounts/B2Session.h"
#include "bench/BenchClient.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/MainExecutor.h"
#include "foundation/Settings.h"
#include "foundation/views/DenseTableView.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace {

/// Times every event that the loop hands out.
class TimedApplication final : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (depth_ > 0)
            return QApplication::notify(receiver, event);
        ++depth_;
        QElapsedTimer timer;
        timer.start();
        const bool isHandled = QApplication::notify(receiver, event);
        longest_ = std::max(longest_, timer.nsecsElapsed());
        --depth_;
        return isHandled;
    }

    double takeLongest() { return static_cast<double>(std::exchange(longest_, 0)) / 1e6; }

private:
    int depth_ = 0;
    qint64 longest_ = 0;
};

void spinUntil(const std::function<bool()>& isDone)
{
    QElapsedTimer timer;
    timer.start();
    while (!isDone()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        if (timer.elapsed() > 120'000)
            throw std::runtime_error("The pane did not get there in two minutes.");
    }
}

void rest(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    spinUntil([&] { return timer.elapsed() >= milliseconds; });
}

struct Account {
    std::shared_ptr<B2Session> session;
    std::optional<B2Bucket> bucket;
};

Task<> connect(Account* account, std::string bucketName)
{
    const auto client = makeBenchClient();
    auto answer = co_await client->authorized();
    const auto buckets = co_await client->listBuckets(bucketName);
    account->session = std::make_shared<B2Session>(StoredKey{}, client, std::move(answer));
    account->bucket = buckets.at(0);
}

void sortBy(ObjectBrowserView& view, BrowserModel& model, BrowserColumn column, Qt::SortOrder order)
{
    const auto before = *model.shown;
    view.table().horizontalHeader()->setSortIndicator(static_cast<int>(column), order);
    spinUntil([&] { return *model.shown != before; });
    rest(100);
}

void measure(TimedApplication& application, const std::string& bucketName, int count)
{
    Account account;
    const auto task = spawn(MainExecutor::shared(), connect(&account, bucketName));
    spinUntil([&] { return account.bucket.has_value(); });

    Settings settings("");
    BrowserModel model(settings);
    model.cache = std::make_shared<ListingCache>();
    ObjectBrowserView view(model, settings);
    view.resize(1180, 760);
    view.show();
    rest(200);
    auto& table = view.table();
    auto& bar = *table.verticalScrollBar();
    application.takeLongest();

    model.open(account.session, *account.bucket);
    spinUntil([&] {
        bar.setValue(bar.maximum());
        return table.model()->rowCount() == count && !*model.isLoading;
    });
    rest(100);
    const double load = application.takeLongest();

    for (int step = 0; step <= 200; ++step) {
        bar.setValue(bar.maximum() / 200 * step);
        rest(5);
    }
    const double scroll = application.takeLongest();

    table.selectRow(count / 2);
    sortBy(view, model, BrowserColumn::name, Qt::DescendingOrder);
    sortBy(view, model, BrowserColumn::modified, Qt::AscendingOrder);
    table.selectAll();
    sortBy(view, model, BrowserColumn::name, Qt::AscendingOrder);
    const double sort = application.takeLongest();

    auto& filter = *view.findChild<SearchField*>();
    for (const auto* text : {"9", "99", "9"}) {
        filter.setText(QString::fromUtf8(text));
        rest(50);
    }
    filter.clear();
    rest(100);
    std::printf("%.1f %.1f %.1f %.1f\n", load, scroll, sort, application.takeLongest());
}

} // namespace

int main(int count, char** words)
{
    Theme::prepareApplication();
    TimedApplication application(count, words);
    const Theme theme;
    if (count != 3)
        return 2;
    try {
        measure(application, words[1], std::atoi(words[2]));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}
