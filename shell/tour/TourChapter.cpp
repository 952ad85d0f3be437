#include "shell/tour/TourChapter.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/tour/TourHands.h"
#include "shell/window/DetailArea.h"
#include "storage/unfinished/views/UnfinishedUploadRow.h"
#include "storage/unfinished/views/UnfinishedUploadsView.h"

#include <QPushButton>

#include <iostream>
#include <stdexcept>

using namespace TourHands;
using Case = Transfer::State::Case;

TourChapter::TourChapter(Application& application, MainWindow& window, const CommandLine& commandLine)
    : TourSteps(application, window, *commandLine.tour)
    , chapter_(commandLine.tourChapter)
    , file_(commandLine.tourFile)
{
}

Task<> TourChapter::run()
{
    if (chapter_ == "newcomer") {
        co_await connectAsNewcomer();
        co_return;
    }
    co_await until([this] { return application_.root->browser.bucket->has_value() && isListed(); });
    co_await showBucket("media-archive");
    if (chapter_ == "begin-upload")
        co_await beginUpload();
    else if (chapter_ == "resume-upload")
        co_await resumeUpload();
    else
        throw std::runtime_error("There is no chapter \"" + chapter_ + "\".");
}

Task<> TourChapter::beginUpload()
{
    const auto name = file_.filename().string();
    dropFiles(*window_.detail().browser().table().viewport(), {file_});
    const auto hasPart = [&] {
        const auto found = transfer(name);
        return found && found->partsCompleted->value_or(0) > 0;
    };
    if (!co_await check("send a part of a large file", hasPart))
        co_return;
    co_await picture(window_, "large-upload");
    std::cout << partIsStored << std::endl;
    // Until it is killed.
    for (;;)
        co_await until([] { return false; });
}

Task<> TourChapter::resumeUpload()
{
    const auto name = file_.filename().string();
    const auto isTold = [&] {
        const auto* const notice = application_.root->notices.find("interruptedUploads");
        return notice && notice->text.contains(name);
    };
    co_await check("say at the start which upload was cut off", isTold);
    co_await picture(window_, "cut-off");
    chooseInMenu(window_, tr("Unfinished Uploads…"));
    UnfinishedUploadRow* found = nullptr;
    const auto isShown = [&] {
        for (auto* const row : window_.findChildren<UnfinishedUploadRow*>()) {
            if (row->isVisible() && row->item().file.fileName == name && row->item().partCount)
                found = row;
        }
        return found != nullptr;
    };
    if (!co_await check("list the upload that was killed among the unfinished ones", isShown))
        co_return;
    report("its stored part is counted", found->item().partCount == 1,
        std::to_string(found->item().partCount.value_or(0)) + " parts");
    const auto* const sheet = window_.findChild<UnfinishedUploadsView*>();
    co_await picture(*sheet->window(), "unfinished-uploads");
    for (auto* const button : found->findChildren<QPushButton*>()) {
        if (button->text() == UnfinishedUploadRow::tr("Resume"))
            click(*button);
    }
    co_await check("resume it", [&] { return transfer(name) != nullptr; });
    co_await check("send the rest and finish it", [&] { return hasEnded(name, Case::finished); });
    report("it went on from the part that was stored", transfer(name)->partsAtStart->value_or(0) == 1,
        "it did not begin with one part");
    co_await picture(window_, "resumed");
}
