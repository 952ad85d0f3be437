#include "foundation/Texts.h"
#include "foundation/NaturalOrder.h"
#include "foundation/TableSort.h"

#include <gmock/gmock.h>

#include <QLocale>

#include <algorithm>
#include <limits>
#include <random>

using testing::ElementsAre;

namespace {

TEST(TextsTest, SizesAreDecimalAndFollowTheLocale)
{
    EXPECT_EQ(sizeText(0), "0 bytes");
    EXPECT_EQ(sizeText(1), "1 byte");
    EXPECT_EQ(sizeText(999), "999 bytes");
    EXPECT_EQ(sizeText(1'499), "1 KB");
    EXPECT_EQ(sizeText(999'499), "999 KB");
    EXPECT_EQ(sizeText(999'500), "1 MB");
    EXPECT_EQ(sizeText(1'250'000), "1.3 MB");
    EXPECT_EQ(sizeText(2'050'000'000), "2.05 GB");
    EXPECT_EQ(sizeText(999'999'999'999), "1 TB");
    EXPECT_EQ(sizeText(std::numeric_limits<std::int64_t>::max()), "9.22 EB");

    QLocale::setDefault(QLocale(QLocale::German));
    EXPECT_EQ(sizeText(1'250'000), "1,3 MB");
    EXPECT_EQ(countText(12'345, "file", "files"), "12.345 files");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
}

TEST(TextsTest, CountsAreSingularForExactlyOne)
{
    EXPECT_EQ(countText(0, "file", "files"), "0 files");
    EXPECT_EQ(countText(1, "file", "files"), "1 file");
    EXPECT_EQ(countText(1'000'000, "file", "files"), "1,000,000 files");
}

TEST(TextsTest, DurationsAreHoursAndMinutes)
{
    EXPECT_EQ(durationText(0), "<1m");
    EXPECT_EQ(durationText(40), "1m");
    EXPECT_EQ(durationText(170), "3m");
    EXPECT_EQ(durationText(7'500), "2h 5m");
    EXPECT_EQ(durationText(7'199), "2h");
    EXPECT_EQ(durationText(std::numeric_limits<double>::infinity()), durationText(1e9));
    EXPECT_EQ(durationText(std::numeric_limits<double>::quiet_NaN()), "<1m");
}

TEST(TextsTest, ASingleLineShowsWhatWouldBreakIt)
{
    EXPECT_EQ(singleLine("ä/日本 🎉.txt"), "ä/日本 🎉.txt");
    EXPECT_EQ(singleLine(std::string_view("a\nb\r\x1B[2Jc\0d", 11)), "a␊b␍␛[2Jc␀d");
    EXPECT_EQ(singleLine("a\u0085b\u2028c\u2029d\x7F"), "a␤b␤c␤d␡");
    EXPECT_EQ(singleLine("cut\xC2"), "cut\xC2");
}

std::vector<std::string> naturallySorted(std::vector<std::string> names)
{
    std::ranges::sort(names, {}, [](const std::string& name) { return naturalSortKey(name); });
    return names;
}

TEST(NaturalOrderTest, IgnoresCaseAndComparesDigitsByValue)
{
    EXPECT_THAT(naturallySorted({"file10", "File9", "file1", "Über", "zebra", "apple", "file007x"}),
        ElementsAre("apple", "file1", "file007x", "File9", "file10", "Über", "zebra"));
    EXPECT_EQ(naturallySorted({"b", "A", "a", "B"}), naturallySorted({"B", "a", "A", "b"}));
    EXPECT_NE(naturalSortKey("a"), naturalSortKey("A"));
    EXPECT_LT(NaturalSortKey(), naturalSortKey(""));
    EXPECT_LT(naturalSortKey("v2"), naturalSortKey("v123456789012345678901234567890"));
}

TEST(TextsTest, SaysHowLongAgoInTheLargestUnit)
{
    using namespace std::chrono_literals;
    const auto now = std::chrono::system_clock::now();
    const auto ago = [&](std::chrono::seconds age) { return agoText(now - age, now); };

    EXPECT_EQ(ago(-5min), "just now") << "a clock that is wrong";
    EXPECT_EQ(ago(44s), "just now");
    EXPECT_EQ(ago(45s), "1 minute ago");
    EXPECT_EQ(ago(59min), "59 minutes ago");
    EXPECT_EQ(ago(25h), "1 day ago");
    EXPECT_EQ(ago(24h * 29), "29 days ago");
    EXPECT_EQ(ago(24h * 62), "2 months ago");
    EXPECT_EQ(ago(24h * 800), "2 years ago");
}

TEST(NaturalOrderTest, SortsAHundredThousandKeys)
{
    std::vector<std::pair<NaturalSortKey, int>> rows;
    for (int i = 0; i < 100'000; ++i)
        rows.emplace_back(naturalSortKey("Holiday pictures/IMG_" + std::to_string(i) + ".jpeg"), i);
    std::ranges::shuffle(rows, std::mt19937(7));

    std::ranges::sort(rows);

    for (int i = 0; i < 100'000; ++i)
        ASSERT_EQ(rows[static_cast<std::size_t>(i)].second, i);
}

TEST(TableSortTest, KeepsTheValidPartsOfAStoredSort)
{
    const std::vector<std::string> known{"name", "size"};
    const std::vector<SortOrder> byName{{"name", true}};
    const std::vector<SortOrder> both{{"size", false}, {"name", true}};

    EXPECT_EQ(encodeSort(both), "size:desc,name:asc");
    EXPECT_EQ(decodeSort("size:desc,name:asc", known, byName), both);
    EXPECT_EQ(decodeSort("gone:asc,,size:desc,name:asc:asc,name,name:up", known, byName), both);
    for (const auto* damaged : {"", ",", "name", ":", "gone:asc", "\xFF:\xFE"})
        EXPECT_EQ(decodeSort(damaged, known, byName), byName) << damaged;
    EXPECT_EQ(encodeSort({}), "");
}

} // namespace
