#include "accounts/KeyNames.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

std::vector<std::string> labelsOf(const StoredAccount& account)
{
    std::vector<std::string> labels;
    for (const auto& key : account.keys)
        labels.push_back(key.label);
    return labels;
}

} // namespace

TEST(KeyNamesTest, AnAccountIsNamedAfterItsRegion)
{
    EXPECT_EQ(defaultAccountName("4a1b2c3d4e5f", "https://s3.us-west-004.backblazeb2.com"), "us-west-004 (4e5f)");
    EXPECT_EQ(defaultAccountName("4a1b2c3d4e5f", "http://127.0.0.1:4711"), "Account 4e5f");
    EXPECT_EQ(defaultAccountName("4a1b2c3d4e5f", std::nullopt), "Account 4e5f");
    EXPECT_EQ(defaultAccountName("abc", std::nullopt), "Account abc");
}

TEST(KeyNamesTest, OnlyLongKeyIDsAreShortened)
{
    EXPECT_EQ(shortKeyID("123456789012"), "123456789012");
    EXPECT_EQ(shortKeyID("0044a1b2c3d4e5f0000000001"), "0044a1…0001");
}

TEST(KeyNamesTest, GroupsShowLivingKeysFirstAndTheMasterKeyBeforeOthers)
{
    const std::vector<StoredKey> keys{{"k1", "zebra", "acc2"}, {"k2", "Apple", "acc1"}, {"acc1", "z master", "acc1"},
        {"k3", "aardvark", "acc1"}, {"k4", "never connected", std::nullopt}};

    const auto groups = groupByAccount(keys, {{"acc2", "A first"}}, {"k3"});

    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].name, "A first");
    EXPECT_EQ(groups[1].name, "Account acc1");
    EXPECT_THAT(labelsOf(groups[1]), ElementsAre("z master", "Apple", "aardvark"));
}
