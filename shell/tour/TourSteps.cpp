#include "shell/tour/TourSteps.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/tour/TourHands.h"
#include "shell/window/DetailArea.h"
#include "shell/window/Sidebar.h"

#include <QListView>

using namespace TourHands;

TourSteps::TourSteps(Application& application, MainWindow& window, std::filesystem::path pictures)
    : application_(application)
    , window_(window)
    , report_(std::move(pictures))
{
    window_.resize(windowSize);
}

void TourSteps::start()
{
    auto whole = [](TourSteps* self) -> Task<> {
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

Task<bool> TourSteps::check(std::string step, Condition condition)
{
    const bool didPass = co_await until(std::move(condition));
    // The screen shows the model's state one turn of the loop later.
    co_await settle();
    report(step, didPass, "it did not happen within 15 seconds");
    co_return didPass;
}

void TourSteps::report(const std::string& step, bool didPass, const std::string& reason)
{
    if (didPass)
        report_.passed(step);
    else
        report_.failed(step, reason);
}

Task<> TourSteps::picture(QWidget& window, std::string name)
{
    co_await settle();
    report_.picture(window, name);
}

Task<> TourSteps::showBucket(std::string name)
{
    auto& list = window_.sidebar().bucketList();
    // After a switch the sidebar follows a turn later.
    co_await until([&] { return rowOf(*list.model(), toQString(name)).isValid(); });
    if (const auto found = rowOf(*list.model(), toQString(name)); found.isValid())
        clickRow(list, found);
    co_await until([this, name] {
        const auto& bucket = *application_.root->browser.bucket;
        return bucket && bucket->bucketName == name && isListed();
    });
    co_await settle();
}

void TourSteps::openFolder(const std::string& name)
{
    auto& table = window_.detail().browser().table();
    const auto index = row(name);
    if (!index.isValid())
        return;
    clickRow(table, index);
    press(table, Qt::Key_Return);
}

QModelIndex TourSteps::row(const std::string& name) const
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

std::shared_ptr<Transfer> TourSteps::transfer(const std::string& remoteName) const
{
    const auto& all = *application_.queue->transfers;
    for (auto it = all.rbegin(); it != all.rend(); ++it) {
        if ((*it)->remoteName == remoteName)
            return *it;
    }
    return nullptr;
}

bool TourSteps::hasEnded(const std::string& remoteName, Transfer::State::Case how) const
{
    const auto found = transfer(remoteName);
    return found && found->state->is(how);
}

bool TourSteps::isListed() const
{
    return !*application_.root->browser.isLoading;
}
