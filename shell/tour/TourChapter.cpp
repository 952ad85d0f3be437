#include "shell/tour/TourChapter.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/views/DenseTableView.h"
#include "shell/tour/TourHands.h"
#include "shell/views/DetailArea.h"

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
    co_return;
}
