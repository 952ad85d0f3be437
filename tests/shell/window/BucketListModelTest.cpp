#include "shell/window/BucketListModel.h"

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>

#include <gmock/gmock.h>

namespace {

std::vector<B2Bucket> buckets(std::initializer_list<std::string> names)
{
    std::vector<B2Bucket> list;
    for (const auto& name : names)
        list.push_back({.bucketID = "id-" + name, .bucketName = name, .bucketType = B2BucketType("allPrivate")});
    return list;
}

QStringList shownNames(const BucketListModel& model)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        names.append(model.index(row).data().toString());
    return names;
}

} // namespace

TEST(BucketListModelTest, AReloadMovesRowsAndKeepsTheSelection)
{
    BucketListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.show(buckets({"alpha", "beta", "gamma", "delta"}));
    QItemSelectionModel selection(&model);
    selection.setCurrentIndex(model.indexOf("id-gamma"), QItemSelectionModel::SelectCurrent);

    model.show(buckets({"zero", "gamma", "alpha", "epsilon"}));

    EXPECT_EQ(shownNames(model),
        (QStringList{
            QStringLiteral("zero"), QStringLiteral("gamma"), QStringLiteral("alpha"), QStringLiteral("epsilon")}));
    EXPECT_EQ(selection.currentIndex().data().toString(), QStringLiteral("gamma"));

    model.show({});
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_FALSE(selection.currentIndex().isValid());
}
