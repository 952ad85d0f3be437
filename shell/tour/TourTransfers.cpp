#include "shell/tour/Tour.h"

#include "browser/views/ObjectBrowserView.h"
#include "foundation/QtText.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/tour/TourFiles.h"
#include "shell/tour/TourHands.h"
#include "shell/window/DetailArea.h"
#include "transfers/views/TransfersView.h"

#include <QAction>
#include <QDialog>
#include <QPushButton>

using namespace TourHands;
using Case = Transfer::State::Case;

Task<> Tour::uploadByDrop()
{
    auto& browser = application_.root->browser;
    auto& table = window_.detail().browser().table();
    const auto folder = application_.demo->scratch();
    const std::vector<std::filesystem::path> files{makeTourFile(folder / "holiday video.mp4", 8'000'000),
        makeTourFile(folder / "50% off + more & #1.txt", 1200), makeTourFile(folder / "Łódź – 写真 🌻.png", 300'000),
        makeTourFile(folder / "empty.txt", 0)};

    co_await showBucket("media-archive");
    openFolder("Films");
    co_await until([&] { return *browser.prefix == "Films/" && isListed(); });
    dropFiles(*table.viewport(), files);
    for (const auto& file : files) {
        const std::string name = "Films/" + file.filename().string();
        co_await check("upload “" + file.filename().string() + "” by drag and drop",
            [&] { return hasEnded(name, Case::finished); });
        const auto here = co_await digestOfFile(file);
        const auto there = co_await service_.digest("media-archive", name);
        report("the service holds the same bytes of “" + file.filename().string() + "”", here == there,
            here + " here, " + there + " there");
    }
    co_await check("list the folder again when an upload has ended",
        [&] { return isListed() && row("empty.txt").isValid() && row("Łódź – 写真 🌻.png").isValid(); });
    co_await picture(window_, "uploaded");

    // Two at once: the second end brings another listing.
    dropFiles(
        *table.viewport(), {makeTourFile(folder / "first of two.txt", 20), makeTourFile(folder / "beside it.txt", 10)});
    co_await check("upload two at once", [&] {
        return hasEnded("Films/first of two.txt", Case::finished) && hasEnded("Films/beside it.txt", Case::finished);
    });
    co_await check("show the last of several uploads too", [&] { return row("beside it.txt").isValid(); });
}

Task<> Tour::downloadChecked()
{
    auto& browser = application_.root->browser;
    auto& table = window_.detail().browser().table();
    const auto downloads = application_.demo->downloads();
    // An existing file is kept beside the download.
    makeTourFile(downloads / "empty.txt", 5);

    co_await until([&] { return isListed() && row("empty.txt").isValid(); });
    table.clearSelection();
    for (const auto* const name : {"Łódź – 写真 🌻.png", "50% off + more & #1.txt", "empty.txt"})
        clickRow(table, row(name), Qt::ControlModifier);
    co_await settle();
    press(window_, Qt::Key_D, Qt::ControlModifier);
    for (const auto* const name : {"Łódź – 写真 🌻.png", "50% off + more & #1.txt", "empty.txt"}) {
        const std::string remote = std::string("Films/") + name;
        const auto isDown = [&, remote] {
            const auto found = transfer(remote);
            return found && found->kind == Transfer::Kind::download && found->state->is(Case::finished);
        };
        co_await check(std::string("download “") + name + "”", isDown);
        const auto found = transfer(remote);
        const auto here =
            found && *found->localPath ? co_await digestOfFile(**found->localPath) : std::string("nothing");
        const auto there = co_await service_.digest("media-archive", remote);
        report(std::string("the downloaded bytes of “") + name + "” are those of the service",
            here == there && found && *found->checksum && (*found->checksum)->isVerified(),
            here + " here, " + there + " there");
    }
    report("an existing file is kept beside the download of its name",
        std::filesystem::file_size(downloads / "empty.txt") == 5 && std::filesystem::exists(downloads / "empty 2.txt"),
        "it was replaced");

    openFolder("Films");
    clickRow(table, row("Holiday in Kraków.mov"));
    press(table, Qt::Key_Return);
    co_await check("download a large file, checked if its checksum is known",
        [&] { return hasEnded("Films/Holiday in Kraków.mov", Case::finished); });
    co_await picture(window_, "downloaded");
    press(table, Qt::Key_Backspace);
    co_await check("go up with Backspace after all that", [&] { return browser.prefix->empty() && isListed(); });
}

Task<> Tour::surviveTrouble()
{
    auto& table = window_.detail().browser().table();
    const auto folder = application_.demo->scratch();
    co_await showBucket("documents");

    co_await service_.addFaults(
        R"([{"operation": "b2_upload_file", "kind": "status", "status": 503, "message": "no tomes available", "count": 1},
            {"operation": "b2_upload_file", "kind": "resetRequest", "at": 20000, "after": 1, "count": 1}])");
    const auto report503 = makeTourFile(folder / "report.pdf", 400'000);
    dropFiles(*table.viewport(), {report503});
    co_await check("upload in spite of a busy service and a lost connection",
        [&] { return hasEnded("report.pdf", Case::finished); });
    const auto here = co_await digestOfFile(report503);
    const auto there = co_await service_.digest("documents", "report.pdf");
    report("what was sent again is whole", here == there, here + " here, " + there + " there");
    co_await service_.clearFaults();

    co_await until([&] { return isListed() && row("report.pdf").isValid(); });
    co_await service_.addFaults(R"([{"operation": "download", "kind": "corrupt", "at": 1000, "count": 1}])");
    clickRow(table, row("report.pdf"));
    co_await settle();
    press(window_, Qt::Key_D, Qt::ControlModifier);
    co_await check("refuse a download whose bytes are not those of the service",
        [&] { return hasEnded("report.pdf", Case::failed); });
    report("no file is left of it", !std::filesystem::exists(application_.demo->downloads() / "report.pdf"),
        "it is there");
    co_await service_.clearFaults();

    // The file goes elsewhere, while its row is still shown here.
    const auto session = *application_.root->keyStore.session;
    const auto bucket = *application_.root->browser.bucket;
    co_await session->client->hideFile(bucket->bucketID, "to do.txt");
    const auto listed =
        co_await session->client->listFileVersions({.bucketID = bucket->bucketID, .prefix = "to do.txt"});
    for (const auto& version : listed.files)
        co_await session->client->deleteFileVersion(
            {.fileID = version.fileID.value_or(""), .fileName = version.fileName, .bypassesGovernance = true});
    clickRow(table, row("to do.txt"));
    co_await settle();
    press(window_, Qt::Key_D, Qt::ControlModifier);
    co_await check("say that a file has vanished", [&] { return hasEnded("to do.txt", Case::failed); });
    co_await picture(window_, "failed-transfers");

    co_await service_.addFaults(
        R"([{"operation": "b2_list_file_names", "kind": "status", "status": 400, "code": "bad_request", "message": "The demonstration refuses this once", "count": 1}])");
    press(window_, Qt::Key_F5);
    co_await check(
        "keep the rows and say why a listing failed", [&] { return application_.root->browser.error->has_value(); });
    co_await picture(window_, "listing-failed");
    co_await service_.clearFaults();
    press(window_, Qt::Key_F5);
    co_await check("list again with F5", [&] { return !*application_.root->browser.error && isListed(); });
}

Task<> Tour::askBeforeQuitting()
{
    auto& table = window_.detail().browser().table();
    co_await service_.addFaults(
        R"([{"operation": "b2_upload_file", "kind": "trickle", "in": "request", "bytesPerSecond": 400000}])");
    const std::vector<std::filesystem::path> files{
        makeTourFile(application_.demo->scratch() / "slow one.bin", 9'000'000),
        makeTourFile(application_.demo->scratch() / "slow two.bin", 7'000'000),
        makeTourFile(application_.demo->scratch() / "slow three.bin", 5'000'000)};
    dropFiles(*table.viewport(), files);
    co_await until(
        [&] { return hasEnded("slow one.bin", Case::running) && *transfer("slow one.bin")->bytesTransferred > 0; });
    co_await picture(window_, "transfers-running");
    window_.close();
    QDialog* question = nullptr;
    co_await check("ask before quitting while uploads run", [&] {
        question = window_.findChild<QDialog*>(QStringLiteral("quitQuestion"));
        return question && question->isVisible();
    });
    if (question) {
        co_await picture(*question, "quit-question");
        press(*question, Qt::Key_Escape);
    }
    co_await check(
        "keep working after Escape", [&] { return window_.isVisible() && hasEnded("slow one.bin", Case::running); });

    auto& list = window_.transfers().list();
    for (const auto& file : files) {
        const auto running = transfer(file.filename().string());
        for (int i = 0; i < list.model()->rowCount(); ++i) {
            if (list.model()->index(i, 0).data().toString() == toQString(running->displayName))
                clickRow(list, list.model()->index(i, 0));
        }
        press(list, Qt::Key_Delete);
        co_await check(
            "cancel “" + running->displayName + "” with Delete", [&] { return running->state->is(Case::cancelled); });
    }
    co_await service_.clearFaults();
    bool isStored = true;
    try {
        co_await service_.digest("documents", "slow one.bin");
    } catch (const std::runtime_error&) {
        isStored = false;
    }
    report("nothing of a cancelled upload is stored", !isStored, "the service has the file");
}
