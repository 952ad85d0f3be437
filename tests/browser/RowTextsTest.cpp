#include "browser/RowTexts.h"
#include "browser/BrowserTexts.h"
#include "browser/PrefixPath.h"
#include "browser/actions/BrowserActions.h"

#include <gmock/gmock.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

namespace {

BrowserRow row(const std::string& name, const std::string& action = "upload")
{
    B2FileVersion file;
    file.fileName = name;
    file.action = B2FileAction(action);
    file.contentLength = 1500000;
    file.uploadTimestamp = 1772705700000;
    return makeRow(std::move(file));
}

TEST(RowTextsTest, NamesTheKinds)
{
    EXPECT_EQ(stateText(row("a/", "folder")), "Folder");
    EXPECT_EQ(stateText(row("a", "start")), "Unfinished");
    EXPECT_EQ(stateHelp(row("a", "start")), "An abandoned large-file upload. Its parts are stored and billed");
    EXPECT_EQ(stateText(row("a", "hide")), "Hidden");
    EXPECT_EQ(stateHelp(row("a", "hide")), "Hidden, not deleted. Still stored and billed");
    EXPECT_EQ(stateText(row("a", "copy")), "File");
    EXPECT_EQ(stateText(row("folder/.bzEmpty")), "Folder");
    EXPECT_THAT(stateHelp(row("folder/.bzEmpty")), HasSubstr("Deleting it removes the empty folder"));
    EXPECT_EQ(stateText(row(".bzEmpty")), "File");
    EXPECT_EQ(sizeCellText(row("a", "hide")), "");
    EXPECT_EQ(sizeHelp(row("a")), "1,500,000 bytes");
}

TEST(RowTextsTest, TellsWhatProtectsAVersion)
{
    auto locked = row("a");
    locked.file.fileRetention = B2Readable<B2FileRetention>::known(
        {.mode = B2DefaultRetention::Mode::compliance, .retainUntilTimestamp = 1772705700000});
    locked.file.legalHold = B2LegalHold::on;
    locked.file.serverSideEncryption = B2ServerSideEncryption{.mode = "SSE-B2", .algorithm = "AES256"};

    EXPECT_EQ(stateText(locked), "File · Locked · Legal hold · Encrypted");
    EXPECT_THAT(stateHelp(locked), HasSubstr("compliance mode: nobody can delete it"));
}

TEST(RowTextsTest, TellsWhoVouchesForAChecksum)
{
    auto file = row("a");
    EXPECT_EQ(checksumText(file), "Not recorded");
    file.file.contentSHA1 = "none";
    file.file.fileInfo["large_file_sha1"] = "8c723a0fa70b111017b4a6f06afe1c0dbcec14e3";
    EXPECT_EQ(checksumText(file), "8c723a0fa7…");
    EXPECT_THAT(checksumHelp(file), HasSubstr("Backblaze checked the parts"));
    file.file.contentSHA1 = "unverified:8c723a0fa70b111017b4a6f06afe1c0dbcec14e3";
    EXPECT_THAT(checksumHelp(file), HasSubstr("Backblaze did not check it"));
    EXPECT_EQ(checksumText(row("a/", "folder")), "");
}

TEST(RowTextsTest, ShowsOddNamesAsWhatTheyAre)
{
    EXPECT_EQ(shownName(row("dir/a\nb")), "a\uFFFDb");
    EXPECT_EQ(shownText("invoice\u202Efdp.exe"), "invoice\uFFFDfdp.exe");
    EXPECT_EQ(shownText("\u2066x\u200F"), "\uFFFDx\uFFFD");
    EXPECT_EQ(shownText("שלום <b>É</b>"), "שלום <b>É</b>");
    EXPECT_EQ(lastComponent("a//"), "/");
    EXPECT_EQ(lastComponent("../x"), "x");
    EXPECT_EQ(lastComponent(".."), "..");
}

TEST(PrefixPathTest, TakesPathsApart)
{
    EXPECT_EQ(parentPrefix("a/b/"), "a/");
    EXPECT_EQ(parentPrefix("a/b"), "a/");
    EXPECT_EQ(parentPrefix("a/"), "");
    EXPECT_EQ(parentPrefix("a//"), "a/");
    EXPECT_THAT(
        folderSteps("a/b/c"), ElementsAre(FolderStep{"a", "a/"}, FolderStep{"b", "a/b/"}, FolderStep{"c", "a/b/c"}));
    EXPECT_EQ(folderTowards("a/", "a/b/c/"), "a/b/");
    EXPECT_EQ(folderTowards("", "a/"), "a/");
}

TEST(BrowserTextsTest, CountsWithAgreeingNouns)
{
    EXPECT_EQ(statusText({.loaded = 0}), "0 items");
    EXPECT_EQ(statusText({.loaded = 1, .shown = 1}), "1 item");
    EXPECT_EQ(statusText({.loaded = 1000, .shown = 1000, .hasMore = true}), "1,000 items so far");
    EXPECT_EQ(statusText({.loaded = 9, .shown = 4, .isFiltered = true}), "4 of 9 items");
    EXPECT_EQ(statusText({.loaded = 9, .shown = 9, .selected = 2, .selectedBytes = 13000}), "2 of 9 selected, 13 KB");
}

TEST(BrowserTextsTest, SaysWhenACachedListingWasRead)
{
    const std::chrono::system_clock::time_point morning(std::chrono::milliseconds(1772705700000));

    const auto sameDay = cachedText(morning, morning + 1h);
    const auto later = cachedText(morning, morning + 48h);

    EXPECT_THAT(sameDay, testing::StartsWith("cached "));
    EXPECT_THAT(sameDay, testing::Not(HasSubstr("/")));
    EXPECT_THAT(later, HasSubstr("3/5/26"));
}

TEST(BrowserActionsTest, SaysWhyRowsCannotBeDownloaded)
{
    B2Authorization key;
    key.storage.allowed.capabilities = {B2Capabilities::readFiles};
    const auto file = row("a");
    const auto folder = row("b/", "folder");
    const auto hidden = row("c", "hide");

    EXPECT_EQ(downloadRefusal(key, {&file}), std::nullopt);
    EXPECT_EQ(downloadRefusal(key, {}), "Select files or folders to download");
    EXPECT_THAT(
        downloadRefusal(key, {&file, &folder}), Optional(HasSubstr("cannot download folders: it lacks listFiles")));
    key.storage.allowed.capabilities.insert(B2Capabilities::listFiles);
    EXPECT_EQ(downloadRefusal(key, {&file, &folder}), std::nullopt);
    key.storage.allowed.capabilities.erase(B2Capabilities::listFiles);
    EXPECT_THAT(downloadRefusal(key, {&hidden}), Optional(HasSubstr("hide marker")));
    EXPECT_EQ(downloadRefusal({}, {&file}), "This key cannot download files: it lacks readFiles.");
    EXPECT_EQ(uploadRefusal(key), "This key cannot upload files: it lacks writeFiles.");
    EXPECT_EQ(listRefusal(key), "This key cannot list files: it lacks listFiles.");
}

} // namespace
