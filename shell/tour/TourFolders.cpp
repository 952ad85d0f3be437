#include "shell/tour/Tour.h"

#include "B2Kit/B2Client.h"
#include "browser/views/ObjectBrowserView.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/tour/TourFiles.h"
#include "shell/tour/TourHands.h"
#include "shell/window/DetailArea.h"
#include "transfers/views/TransferProblemsSheet.h"
#include "transfers/views/TransfersView.h"

#include <QAbstractItemModel>

#include <fstream>

using namespace TourHands;
using Case = Transfer::State::Case;

namespace {

/// Names that a careless program would trip over.
const std::vector<std::string> folderFiles{"01 harbour.jpg", "raw/02 sea.dng", "raw/notes & ideas.txt",
    "raw/.hidden settings", "Łódź 写真/03 🌻.png", "100% #1 + ?.txt", "trailing dot.", "empty"};

std::size_t countFiles(const std::filesystem::path& folder)
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        count += entry.is_regular_file() ? 1 : 0;
    return count;
}

} // namespace

Task<> Tour::transferFolders()
{
    auto& browser = application_.root->browser;
    auto& table = window_.detail().browser().table();
    const auto folder = application_.demo->scratch() / "Holiday 2026";
    for (const auto& name : folderFiles)
        makeTourFile(folder / name, name == "empty" ? 0 : 1000 * name.size());
    // Leads elsewhere, so it is left out.
    std::filesystem::create_symlink("/etc", folder / "link");

    co_await showBucket("documents");
    dropFiles(*table.viewport(), {folder});
    co_await check("upload a folder by drag and drop", [&] { return hasEnded("Holiday 2026/", Case::finished); });
    int equal = 0;
    for (const auto& name : folderFiles)
        equal += co_await digestOfFile(folder / name) == co_await service_.digest("documents", "Holiday 2026/" + name)
            ? 1
            : 0;
    report("the service holds the same bytes of every file in it", equal == std::ssize(folderFiles),
        std::to_string(equal) + " are equal");

    // Somebody has stored a name that would leave the folder.
    const auto session = *application_.root->keyStore.session;
    B2UploadFileRequest hostile{.bucketID = (*browser.bucket)->bucketID,
        .fileName = "Holiday 2026/a/../../outside.txt",
        .body = std::make_shared<const std::string>("must not land outside")};
    co_await session->client->uploadFile(std::move(hostile));
    co_await until([&] { return isListed() && row("Holiday 2026").isValid(); });
    table.clearSelection();
    clickRow(table, row("Holiday 2026"));
    co_await settle();
    press(window_, Qt::Key_D, Qt::ControlModifier);
    const auto isDown = [&] {
        const auto found = transfer("Holiday 2026/");
        return found && found->kind == Transfer::Kind::download && !found->state->isLive();
    };
    co_await check("download a folder in which one name would lead out of it", isDown);
    const auto down = transfer("Holiday 2026/");
    report("that name alone is refused", down->state->text == "1 of 9 files failed" && down->fileProblems->size() == 1,
        down->state->text);
    const auto landed = application_.demo->downloads() / "Holiday 2026";
    report("nothing has landed outside of the folder, and nothing but the others in it",
        !std::filesystem::exists(application_.demo->downloads() / "outside.txt")
            && !std::filesystem::exists(application_.demo->downloads().parent_path() / "outside.txt")
            && countFiles(landed) == folderFiles.size(),
        std::to_string(countFiles(landed)) + " files");
    equal = 0;
    for (const auto& name : folderFiles)
        equal += co_await digestOfFile(folder / name) == co_await digestOfFile(landed / name) ? 1 : 0;
    report("every other file came down as it went up", equal == std::ssize(folderFiles),
        std::to_string(equal) + " are equal");
    co_await picture(window_, "folder-with-a-refused-name");

    auto& list = window_.transfers().list();
    clickRow(list, list.model()->index(list.model()->rowCount() - 1, 0));
    press(list, Qt::Key_Return);
    TransferProblemsSheet* details = nullptr;
    co_await check("say which file failed, and why", [&] {
        details = window_.findChild<TransferProblemsSheet*>();
        return details && details->isVisible();
    });
    if (details) {
        co_await picture(*details, "which-files-failed");
        press(*details, Qt::Key_Escape);
    }
}
