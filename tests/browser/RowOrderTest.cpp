#include "browser/RowOrder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

B2FileVersion version(const std::string& name, std::int64_t size = 0, const std::string& action = "upload")
{
    B2FileVersion file;
    if (action != "folder")
        file.fileID = "id of " + name + std::to_string(size);
    file.fileName = name;
    file.action = B2FileAction(action);
    file.contentLength = size;
    return file;
}

BrowserEntries entriesOf(std::vector<B2FileVersion> files)
{
    return BrowserEntries(newRows({}, std::move(files)));
}

std::vector<std::string> namesOf(const BrowserEntries& entries, const RowIndexes& rows)
{
    std::vector<std::string> names;
    for (const auto index : *rows)
        names.push_back(entries[index].name);
    return names;
}

TEST(RowOrderTest, KeepsFoldersFirstInEitherDirection)
{
    const auto entries =
        entriesOf({version("b", 2), version("c/", 0, "folder"), version("a", 9), version("d/", 0, "folder")});

    const auto rising = arrange(entries, BrowserMode::current, {{"size", true}}, {});
    const auto falling = arrange(entries, BrowserMode::current, {{"name", false}}, {});

    EXPECT_THAT(namesOf(entries, rising.sorted), ElementsAre("c", "d", "b", "a"));
    EXPECT_THAT(namesOf(entries, falling.sorted), ElementsAre("d", "c", "b", "a"));
    EXPECT_THAT(*rising.listed, ElementsAre(0, 1, 2, 3));
}

TEST(RowOrderTest, MergesPagesIntoTheOrderOfTheWhole)
{
    std::mt19937 random(7);
    for (const auto& order : std::vector<std::vector<SortOrder>>{
             {{"name", true}}, {{"size", false}, {"name", true}}, {{"state", false}, {"size", true}}}) {
        Arrangement pageByPage{.order = order};
        for (int page = 0; page < 20; ++page) {
            std::vector<B2FileVersion> files;
            for (int i = 0; i < 50; ++i) {
                const auto name = std::to_string(page) + "-" + std::to_string(random() % 1000);
                files.push_back(
                    version(i % 7 == 0 ? name + "/" : name, random() % 5, i % 7 == 0 ? "folder" : "upload"));
            }
            std::ranges::sort(files, {}, &B2FileVersion::fileName);
            const auto entries = pageByPage.entries.appending(newRows(pageByPage.entries, std::move(files)));
            pageByPage = arrange(entries, BrowserMode::current, order, pageByPage);
        }

        const auto atOnce = arrange(pageByPage.entries, BrowserMode::current, order, {});

        EXPECT_EQ(*pageByPage.sorted, *atOnce.sorted);
        EXPECT_EQ(*pageByPage.listed, *atOnce.listed);
    }
}

TEST(RowOrderTest, ShowsHideMarkersAndUnfinishedUploadsAmongAllVersionsOnly)
{
    const auto entries = entriesOf({version("a"), version("b", 1, "hide"), version("c", 2, "start")});

    EXPECT_THAT(*arrange(entries, BrowserMode::current, {}, {}).sorted, ElementsAre(0));
    EXPECT_THAT(*arrange(entries, BrowserMode::allVersions, {}, {}).sorted, ElementsAre(0, 1, 2));
}

TEST(RowOrderTest, DropsRowsThatAPageRepeats)
{
    const auto entries = entriesOf({version("a"), version("b", 1), version("c/", 0, "folder")});

    const auto page = newRows(entries, {version("b", 1), version("b", 2), version("c/", 0, "folder"), version("d")});

    ASSERT_EQ(page.size(), 2);
    EXPECT_EQ(page[0].file.contentLength, 2);
    EXPECT_EQ(page[1].name, "d");
}

TEST(RowOrderTest, FiltersByTheShownNameWithoutCase)
{
    const auto entries = entriesOf({version("über/GRÖSSE.txt"), version("über/klein.txt")});
    const auto all = arrange(entries, BrowserMode::current, {}, {}).sorted;

    EXPECT_THAT(*filtered(entries, all, "grösse"), ElementsAre(0));
    EXPECT_THAT(*filtered(entries, all, "über"), IsEmpty());
    EXPECT_EQ(filtered(entries, all, ""), all);
}

TEST(BrowserEntriesTest, FindsRowsAcrossPagesAndSharesThem)
{
    const auto first = entriesOf({version("a"), version("b")});
    const auto both = first.appending(newRows(first, {version("c")}));

    EXPECT_EQ(both.size(), 3);
    EXPECT_EQ(both[2].name, "c");
    EXPECT_EQ(&both[0], &first[0]);
    EXPECT_TRUE(both.extends(first));
    EXPECT_FALSE(first.extends(both));
    EXPECT_FALSE(both.extends(entriesOf({version("a"), version("b")})));
}

} // namespace
