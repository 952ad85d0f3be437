#include "tests/transfers/TransfersFixture.h"
#include "transfers/download/LocalNames.h"

#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

TEST(LocalNamesTest, TakesTheLastComponentAndNothingThatLeadsOut)
{
    EXPECT_EQ(localName("a/b/c.txt"), "c.txt");
    EXPECT_EQ(localName("../../.profile"), ".profile");
    EXPECT_EQ(localName("a\\b\n ☕ .txt "), "a\\b\n ☕ .txt ");
    EXPECT_EQ(localName("a/.."), std::nullopt);
    EXPECT_EQ(localName("a/."), std::nullopt);
    EXPECT_EQ(localName("a/"), std::nullopt);
    EXPECT_EQ(localName(""), std::nullopt);
    EXPECT_EQ(localName(std::string_view("a\0b", 3)), std::nullopt);
}

TEST(LocalNamesTest, NumbersBeforeTheExtension)
{
    const auto second = [](std::string_view name) { return numberedName(name, 255, [](auto&) { return false; }); };
    EXPECT_EQ(second("name.txt"), "name 2.txt");
    EXPECT_EQ(second("name"), "name 2");
    EXPECT_EQ(second(".profile"), ".profile 2");
    EXPECT_EQ(second("a.tar.gz"), "a.tar 2.gz");
    EXPECT_EQ(second("name."), "name. 2");

    int asked = 0;
    const auto allTaken = [&](const std::string&) { return ++asked > 0; };
    EXPECT_EQ(numberedName("name.txt", 255, allTaken), "name.txt");
    EXPECT_EQ(asked, 998);
}

TEST(LocalNamesTest, ShortensBetweenCharactersAndKeepsTheExtension)
{
    std::string name;
    for (int i = 0; i < 100; ++i)
        name += "日";
    name += ".jpeg";
    const auto shortened = shortenedName(name, 255);
    EXPECT_EQ(shortened.size(), 255 - (255 - 5) % 3);
    EXPECT_TRUE(shortened.ends_with("日.jpeg"));
    EXPECT_EQ(numberedName(shortened, 255, [](auto&) { return false; }).size(), 255 - (255 - 7) % 3);
    EXPECT_EQ(shortenedName("a." + std::string(300, 'x'), 255).size(), 255U);
}

class DestinationTest : public TransfersFixture {
protected:
    std::string targetOf(std::string name, ExistingFilePolicy policy)
    {
        const auto prepared = prepareDestination({downloads}, name, policy, *reserved);
        return prepared ? prepared->choice.target.filename().string()
                        : failureText(BytesOperation::download, prepared.error());
    }

    std::shared_ptr<ReservedPaths> reserved = std::make_shared<ReservedPaths>();
};

TEST_F(DestinationTest, FollowsThePolicyWhenTheNameIsTaken)
{
    writeFile(downloads / "a.txt", "old");
    std::filesystem::create_symlink(directory / "nowhere", downloads / "link.txt");

    EXPECT_EQ(targetOf("new.txt", ExistingFilePolicy::skip), "new.txt");
    EXPECT_EQ(targetOf("a.txt", ExistingFilePolicy::keepBoth), "a 2.txt");
    EXPECT_EQ(targetOf("link.txt", ExistingFilePolicy::keepBoth), "link 2.txt");
    EXPECT_EQ(targetOf("a.txt", ExistingFilePolicy::replace), "a.txt");
    const auto skipped = prepareDestination({downloads}, "a.txt", ExistingFilePolicy::skip, *reserved);
    EXPECT_EQ(skipped->choice.skippedFor, downloads / "a.txt");
}

TEST_F(DestinationTest, GivesNoNameToTwoDownloadsOnTheirWay)
{
    for (const auto policy : existingFilePolicies) {
        auto first = prepareDestination({downloads}, "a.txt", policy, *reserved);
        auto second = prepareDestination({downloads}, "a.txt", policy, *reserved);
        EXPECT_EQ(first->choice.target, downloads / "a.txt");
        EXPECT_EQ(second->choice.target, downloads / "a 2.txt");
    }
    EXPECT_EQ(targetOf("a.txt", ExistingFilePolicy::keepBoth), "a.txt") << "the names are free again";
}

TEST_F(DestinationTest, SaysWhyTheFolderTakesNothing)
{
    std::filesystem::remove(downloads);
    EXPECT_THAT(
        targetOf("a.txt", ExistingFilePolicy::keepBoth), HasSubstr("doesn't exist any more. Nothing was saved"));
    writeFile(downloads, "");
    EXPECT_THAT(targetOf("a.txt", ExistingFilePolicy::keepBoth), HasSubstr("is not a folder"));
}

TEST_F(DestinationTest, MakesTheDefaultFolderButNoChosenOne)
{
    const auto prepared =
        prepareDestination({directory / "Downloads", true}, "a", ExistingFilePolicy::keepBoth, *reserved);
    EXPECT_TRUE(prepared && std::filesystem::is_directory(directory / "Downloads"));
}

TEST_F(DestinationTest, KeepsTheChosenFolderAndPolicyInTheSettings)
{
    const DownloadDestination other(settings);
    EXPECT_EQ(other.current(), (DownloadFolder{downloads}));
    EXPECT_EQ(currentExistingFilePolicy(settings), ExistingFilePolicy::keepBoth);
    settings.set("existingFilePolicy", "replace");
    EXPECT_EQ(currentExistingFilePolicy(settings), ExistingFilePolicy::replace);
    settings.set("existingFilePolicy", "sometimes");
    EXPECT_EQ(currentExistingFilePolicy(settings), ExistingFilePolicy::keepBoth);
}

} // namespace
