#include "foundation/views/tables/KeyedRowsModel.h"

#include "foundation/QtText.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QPersistentModelIndex>
#include <QSignalSpy>

#include <random>
#include <set>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

struct Item {
    std::string key;
    int version = 0;

    bool operator==(const Item&) const = default;
};

class ItemsModel final : public KeyedRows<Item> {
public:
    void show(std::vector<Item> wanted) { showRows(std::move(wanted)); }

    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 2; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        const auto& item = row(index.row());
        return toQString(item.key + " " + std::to_string(item.version) + " " + std::to_string(index.column()));
    }

private:
    std::string_view keyOf(const Item& item) const override { return item.key; }
};

/// A view that reads only the cells the model announces.
class Mirror final : public QObject {
public:
    explicit Mirror(ItemsModel& model)
    {
        const auto read = [&model](int row) { return model.index(row, 1).data().toString(); };
        connect(&model, &QAbstractItemModel::rowsInserted, this, [=, this](const QModelIndex&, int first, int last) {
            for (int row = first; row <= last; ++row)
                texts.insert(row, read(row));
        });
        connect(&model, &QAbstractItemModel::rowsRemoved, this,
            [this](const QModelIndex&, int first, int last) { texts.remove(first, last - first + 1); });
        connect(&model, &QAbstractItemModel::layoutAboutToBeChanged, this, [&model, this] {
            for (int row = 0; row < model.rowCount(); ++row)
                before.append(model.index(row, 0));
        });
        connect(&model, &QAbstractItemModel::layoutChanged, this, [this] {
            QStringList moved(texts.size());
            for (qsizetype i = 0; i < texts.size(); ++i)
                moved[before.at(i).row()] = texts.at(i);
            texts = moved;
            before.clear();
        });
        connect(&model, &QAbstractItemModel::dataChanged, this,
            [=, this](const QModelIndex& first, const QModelIndex& last) {
                for (int row = first.row(); row <= last.row(); ++row)
                    texts[row] = read(row);
            });
    }

    QStringList texts;
    QList<QPersistentModelIndex> before;
};

std::vector<std::string> keysOf(const ItemsModel& model)
{
    std::vector<std::string> keys;
    for (const auto& item : model.rows())
        keys.push_back(item.key);
    return keys;
}

class KeyedRowsModelTest : public testing::Test {
protected:
    void show(std::initializer_list<const char*> keys)
    {
        std::vector<Item> items;
        for (const char* key : keys)
            items.push_back({key, 0});
        model.show(std::move(items));
    }

    ItemsModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    Mirror mirror{model};
    QSignalSpy resets{&model, &QAbstractItemModel::modelReset};
};

TEST_F(KeyedRowsModelTest, FollowsEveryRowThroughAnyChange)
{
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        std::vector<Item> wanted;
        const auto share = random() % 4;
        for (int number = 0; number < 80; ++number) {
            if (random() % 4 >= share)
                wanted.push_back({std::to_string(number), static_cast<int>(random() % 3)});
        }
        // Some rounds keep the order, some move a single row, some bring keys that occur twice or three times.
        if (round % 3 == 1)
            std::ranges::shuffle(wanted, random);
        if (round % 3 == 2 && wanted.size() > 2)
            std::rotate(wanted.begin(), wanted.begin() + 1, wanted.begin() + 1 + static_cast<int>(random() % 2));
        std::set<std::string> repeated;
        for (auto copies = round % 5 == 0 && !wanted.empty() ? random() % 9 : 0; copies > 0; --copies) {
            const auto copied = wanted[random() % wanted.size()];
            wanted.insert(wanted.begin() + static_cast<std::ptrdiff_t>(random() % wanted.size()), copied);
            repeated.insert(copied.key);
        }
        std::vector<std::pair<QPersistentModelIndex, std::string>> followed;
        std::multiset<std::string> old;
        for (int row = 0; row < model.rowCount(); ++row) {
            followed.emplace_back(model.index(row, row % 2), model.row(row).key);
            old.insert(model.row(row).key);
        }

        model.show(wanted);

        ASSERT_EQ(model.rows(), wanted);
        QStringList texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts.append(model.index(row, 1).data().toString());
        ASSERT_EQ(mirror.texts, texts) << "a change was not announced";
        std::set<int> places;
        for (const auto& [index, key] : followed) {
            if (index.isValid()) {
                ASSERT_EQ(model.row(index.row()).key, key);
                ASSERT_TRUE(places.insert(index.row()).second) << "two rows became one";
            } else {
                const auto left = std::ranges::count(wanted, key, &Item::key);
                ASSERT_LT(left, static_cast<std::ptrdiff_t>(old.count(key))) << key << " was removed and inserted";
            }
        }
    }
    EXPECT_THAT(resets, IsEmpty());
}

TEST_F(KeyedRowsModelTest, AnAppendedPageIsOneRangeAndTouchesNothingElse)
{
    show({"a", "b"});
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy moved(&model, &QAbstractItemModel::layoutChanged);

    show({"a", "b", "c", "d"});

    ASSERT_THAT(inserted, SizeIs(1));
    EXPECT_EQ(inserted[0][1].toInt(), 2);
    EXPECT_EQ(inserted[0][2].toInt(), 3);
    EXPECT_EQ(changed.count() + moved.count(), 0);
}

TEST_F(KeyedRowsModelTest, ScatteredChangesAreGatheredIntoFewSteps)
{
    std::vector<Item> all;
    std::vector<Item> odd;
    for (int number = 0; number < 1000; ++number) {
        all.push_back({std::to_string(number), 0});
        if (number % 2 == 1)
            odd.push_back(all.back());
    }
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);

    model.show(all);
    model.show(odd);
    model.show(all);

    EXPECT_THAT(removed, SizeIs(1));
    EXPECT_THAT(inserted, SizeIs(2));
    EXPECT_EQ(model.rows(), all);
}

TEST_F(KeyedRowsModelTest, KeepsTheSelectionWhenRowsAreSortedAgain)
{
    show({"a", "b", "c", "d"});
    QItemSelectionModel selection(&model);
    selection.setCurrentIndex(model.index(1, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);

    show({"d", "c", "b", "a"});
    EXPECT_TRUE(selection.isRowSelected(2));
    EXPECT_EQ(selection.currentIndex().row(), 2);
    EXPECT_THAT(selection.selectedRows(), SizeIs(1));

    show({"d", "c"});
    EXPECT_THAT(selection.selectedRows(), IsEmpty());
    EXPECT_THAT(keysOf(model), ElementsAre("d", "c"));
    EXPECT_EQ(model.rowOf("c"), 1);
    EXPECT_EQ(model.rowOf("b"), -1);
}

} // namespace
