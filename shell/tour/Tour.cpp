#include "shell/tour/Tour.h"

#include "B2Kit/B2RetryPolicy.h"
#include "B2Kit/B2SHA1.h"
#include "async/Background.h"
#include "browser/views/BrowserCommands.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/views/DenseTableView.h"
#include "localb2/Service.h"
#include "shell/tour/TourHands.h"
#include "shell/views/DetailArea.h"
#include "shell/views/Sidebar.h"

#include <QListView>

using namespace TourHands;

Tour::Tour(Application& application, Theme& theme, MainWindow& window, std::filesystem::path pictures)
    : application_(application)
    , theme_(theme)
    , window_(window)
    , report_(std::move(pictures))
    , service_(application.demo->endpoint())
{
}

void Tour::start()
{
    auto whole = [](Tour* self) -> Task<> {
        std::string failure;
        try {
            co_await self->run();
        } catch (const std::exception& error) {
            failure = error.what();
        }
        if (!failure.empty())
            self->report_.failed("go on with the tour", failure);
        self->report_.printSummary();
        Q_EMIT self->finished(self->report_.failureCount());
    };
    tasks_.start(whole(this));
}

Task<> Tour::run()
{
    co_await connectAndBrowse();
    co_await readManyNames();
    co_await uploadByDrop();
    co_await downloadChecked();
    co_await surviveTrouble();
    co_await askBeforeQuitting();
    co_await switchKeys();
    co_await readTheLog();
    co_await lookAround();
}

Task<bool> Tour::check(std::string step, Condition condition)
{
    const bool didPass = co_await until(std::move(condition));
    // What the model says is on the screen a turn of the loop later.
    co_await settle();
    report(step, didPass, "it did not happen within 15 seconds");
    co_return didPass;
}

void Tour::report(const std::string& step, bool didPass, const std::string& reason)
{
    if (didPass)
        report_.passed(step);
    else
        report_.failed(step, reason);
}

Task<> Tour::picture(QWidget& window, std::string name)
{
    co_await settle();
    report_.picture(window, name);
}

Task<> Tour::showBucket(std::string name)
{
    auto& list = window_.sidebar().bucketList();
    for (int i = 0; i < list.model()->rowCount(); ++i) {
        if (list.model()->index(i, 0).data().toString() == toQString(name))
            clickRow(list, list.model()->index(i, 0));
    }
    co_await until([this, name] {
        const auto& bucket = *application_.root->browser.bucket;
        return bucket && bucket->bucketName == name && isListed();
    });
    co_await settle();
}

void Tour::openFolder(const std::string& name)
{
    auto& table = window_.detail().browser().table();
    const auto index = row(name);
    if (!index.isValid())
        return;
    clickRow(table, index);
    press(table, Qt::Key_Return);
}

QModelIndex Tour::row(const std::string& name) const
{
    auto& table = window_.detail().browser().table();
    const auto* const model = table.model();
    for (int i = 0; i < model->rowCount(); ++i) {
        const auto index = model->index(i, 0);
        if (index.data().toString() == toQString(name))
            return index;
    }
    return {};
}

std::shared_ptr<Transfer> Tour::transfer(const std::string& remoteName) const
{
    const auto& all = *application_.queue->transfers;
    for (auto it = all.rbegin(); it != all.rend(); ++it) {
        if ((*it)->remoteName == remoteName)
            return *it;
    }
    return nullptr;
}

bool Tour::hasEnded(const std::string& remoteName, Transfer::State::Case how) const
{
    const auto found = transfer(remoteName);
    return found && found->state->is(how);
}

bool Tour::isListed() const
{
    return !*application_.root->browser.isLoading;
}
