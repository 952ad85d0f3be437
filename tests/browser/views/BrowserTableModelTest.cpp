#include "browser/views/BrowserTableModel.h"
#include "foundation/QtText.h"
#include "foundation/views/tables/TableColumns.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <numeric>
#include <random>

namespace {

ShownRows rowsOf(const std::vector<int>& numbers)
{
    BrowserEntries::Page page;
    auto indexes = std::make_shared<std::vector<std::uint32_t>>();
    for (const int number : numbers) {
        B2FileVersion file;
        file.fileID = "id-" + std::to_string(number);
        file.fileName = std::to_string(number) + ".txt";
        file.action = B2FileAction("upload");
        page.push_back(makeRow(std::move(file)));
        indexes->push_back(static_cast<std::uint32_t>(indexes->size()));
    }
    return {BrowserEntries(std::move(page)), indexes};
}

class BrowserTableModelTest : public testing::Test {
protected:
    std::vector<std::string> ids() const
    {
        std::vector<std::string> all;
        for (int row = 0; row < model.rowCount(); ++row)
            all.push_back(model.row(row).id);
        return all;
    }

    BrowserTableModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(BrowserTableModelTest, FollowsEveryRowWhileOneListingIsFilteredSortedAndReadAgain)
{
    std::mt19937 random(3);
    std::vector<int> numbers(60);
    std::iota(numbers.begin(), numbers.end(), 0);
    auto listing = rowsOf(numbers);
    for (int round = 0; round < 120; ++round) {
        auto indexes = std::make_shared<std::vector<std::uint32_t>>();
        for (std::uint32_t i = 0; i < 60; ++i) {
            if (random() % 3 != 0)
                indexes->push_back(i);
        }
        if (round % 2 == 0)
            std::ranges::shuffle(*indexes, random);
        if (round % 7 == 0)
            listing = rowsOf(numbers);
        std::vector<std::pair<QPersistentModelIndex, std::string>> followed;
        for (int row = 0; row < model.rowCount(); ++row)
            followed.emplace_back(model.index(row, row % model.columnCount()), model.row(row).id);
        const ShownRows next{listing.entries, indexes};

        model.show(next);

        std::vector<std::string> wanted;
        for (std::size_t i = 0; i < next.size(); ++i)
            wanted.push_back(next[i].id);
        ASSERT_EQ(ids(), wanted);
        for (const auto& [index, id] : followed)
            ASSERT_EQ(index.isValid() ? index.row() : -1, model.rowOf(id));
    }
}

TEST_F(BrowserTableModelTest, AnnouncesAnAppendedPageAsOneRange)
{
    const auto first = rowsOf({1, 2, 3});
    auto second = first;
    second.entries = first.entries.appending([] {
        BrowserEntries::Page page;
        page.push_back(makeRow({.fileID = "id-9", .fileName = "9.txt", .action = B2FileAction("upload")}));
        return page;
    }());
    second.rows = std::make_shared<const std::vector<std::uint32_t>>(std::vector<std::uint32_t>{0, 1, 2, 3});
    model.show(first);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy moved(&model, &QAbstractItemModel::layoutChanged);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

    model.show(second);

    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 3);
    EXPECT_EQ(moved.count() + changed.count(), 0);
}

TEST_F(BrowserTableModelTest, LeavesRowsInFlightAlone)
{
    model.show(rowsOf({1, 2}));

    model.setInFlight({"id-1"});

    EXPECT_FALSE(model.flags(model.index(0, 0)).testFlag(Qt::ItemIsEnabled));
    EXPECT_TRUE(model.flags(model.index(1, 0)).testFlag(Qt::ItemIsEnabled));
}

TEST_F(BrowserTableModelTest, NeverHandsOutMarkupAsHelp)
{
    BrowserEntries::Page page;
    B2FileVersion file{.fileID = "1", .fileName = "a", .action = B2FileAction("upload")};
    file.contentSHA1 = "<b>bold</b>";
    page.push_back(makeRow(std::move(file)));
    model.show({BrowserEntries(std::move(page)), rowsOf({1}).rows});

    const auto help = model.index(0, static_cast<int>(BrowserColumn::checksum)).data(Qt::ToolTipRole).toString();

    EXPECT_FALSE(help.contains(QLatin1String("<b>")));
    EXPECT_TRUE(help.contains(QLatin1String("&lt;b&gt;")));
}

} // namespace
