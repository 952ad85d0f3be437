#include "browser/BrowserRows.h"

#include "browser/RowWorker.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <memory>

namespace {

/// More rows than are sorted at once; the sizes run against the names.
BrowserEntries longListing(int first)
{
    constexpr int count = 3000;
    std::vector<B2FileVersion> files;
    for (int i = 0; i < count; ++i) {
        const auto name = std::to_string(first + i);
        B2FileVersion file{.fileID = "id-" + name, .fileName = name, .action = B2FileAction("upload")};
        file.contentLength = count - i;
        files.push_back(std::move(file));
    }
    return BrowserEntries(newRows({}, std::move(files)));
}

struct Owner : Observable {
    BrowserRows rows{this};
};

class BrowserRowsTest : public testing::Test {
protected:
    std::string firstName() const { return owner->rows.shown->size() == 0 ? "" : (*owner->rows.shown)[0].name; }

    std::string settledFirstName()
    {
        EXPECT_TRUE(spinUntil([this] { return owner->rows.shown->size() > 0; }));
        // A late answer of an earlier sort would arrive before that of a job started now.
        qtRun(arrangeAgain(RowWorker::shared(), {}, BrowserMode::current, defaultBrowserOrder(), {}));
        QCoreApplication::processEvents();
        return firstName();
    }

    std::unique_ptr<Owner> owner = std::make_unique<Owner>();
};

TEST_F(BrowserRowsTest, TheLastOrderChosenWinsWhileRowsAreBeingSorted)
{
    owner->rows.show(longListing(10'000), BrowserMode::current);
    owner->rows.sort({{"name", false}});
    owner->rows.sort({{"size", true}});
    owner->rows.sort({{"size", false}});

    EXPECT_EQ(settledFirstName(), "10000");
    owner->rows.sort({{"size", true}});
    EXPECT_TRUE(spinUntil([this] { return firstName() == "12999"; }));
}

TEST_F(BrowserRowsTest, AListingThatReplacesAnotherIsNeverShownWithItsRows)
{
    owner->rows.show(longListing(10'000), BrowserMode::current);
    ASSERT_EQ(settledFirstName(), "10000");
    owner->rows.sort({{"name", false}});

    owner->rows.show(longListing(50'000), BrowserMode::current);

    EXPECT_EQ(owner->rows.shown->size(), 0);
    EXPECT_EQ(settledFirstName(), "52999");
}

TEST_F(BrowserRowsTest, AFilterSetWhileRowsAreBeingSortedAppliesToThem)
{
    owner->rows.show(longListing(10'000), BrowserMode::current);
    owner->rows.setFilter("1234");

    EXPECT_EQ(settledFirstName(), "11234");
    EXPECT_EQ(owner->rows.shown->size(), 11);
    owner->rows.setFilter({});
    EXPECT_EQ(owner->rows.shown->size(), 3000);
}

TEST_F(BrowserRowsTest, ASortMayEndAfterItsOwner)
{
    owner->rows.show(longListing(10'000), BrowserMode::current);
    EXPECT_TRUE(spinUntil([sleeps = 0]() mutable { return ++sleeps > 1; }));

    owner.reset();

    qtRun(arrangeAgain(RowWorker::shared(), {}, BrowserMode::current, defaultBrowserOrder(), {}));
    QCoreApplication::processEvents();
}

} // namespace
