#include "foundation/Notices.h"

#include "foundation/BucketWrites.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;

TEST(NoticesTest, NothingIsOverwrittenByWhatComesLater)
{
    Notices notices;
    notices.post({.id = "settings", .text = "Couldn't save the settings."});
    notices.post({.id = "bucket", .text = "“a” is gone."});
    EXPECT_EQ(notices.newest()->id, "bucket");
    notices.post({.id = "settings", .text = "Couldn't save the settings.", .actionTitle = "Retry"});
    EXPECT_EQ(notices.newest()->id, "bucket") << "the same text is no news";
    notices.post({.id = "settings", .text = "The disk is full."});
    EXPECT_EQ(notices.newest()->text, "The disk is full.");
    EXPECT_EQ(notices.all->size(), 2u);
    notices.dismiss("settings");
    EXPECT_EQ(notices.newest()->id, "bucket");
}

TEST(NoticesTest, OnlyTheUsersClosingIsReportedAndMayPostAgain)
{
    Notices notices;
    int closed = 0;
    const auto post = [&] {
        notices.post({.id = "switch", .text = "Failed.", .closed = [&] {
                          ++closed;
                          notices.post({.id = "switch", .text = "Failed again."});
                      }});
    };
    post();
    notices.dismiss("switch");
    EXPECT_EQ(closed, 0);
    post();
    notices.close("switch");
    notices.close("unknown");
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(notices.newest()->text, "Failed again.");
}

TEST(BucketWritesTest, TellsEachWriteAtOnceAndGathersWhatMustBeReadAgain)
{
    BucketWrites writes;
    std::vector<std::string> written;
    std::vector<std::string> settled;
    QObject::connect(&writes, &BucketWrites::written, &writes, [&](const std::string& id) { written.push_back(id); });
    QObject::connect(&writes, &BucketWrites::settled, &writes, [&](const std::string& id) {
        settled.push_back(id);
        // A reader that writes in turn must not be told for ever.
        if (settled.size() == 1)
            writes.note("b");
    });
    writes.note("a");
    EXPECT_THAT(written, ElementsAre("a", "b"));
    EXPECT_THAT(settled, ElementsAre("a"));
    for (int i = 0; i < 100; ++i)
        writes.note("a");
    EXPECT_EQ(written.size(), 102u);
    EXPECT_THAT(settled, ElementsAre("a"));
    ASSERT_TRUE(spinUntil([&] { return settled.size() > 1; }));
    EXPECT_THAT(settled, ElementsAre("a", "a", "b"));
}
