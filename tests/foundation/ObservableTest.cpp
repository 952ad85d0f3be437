#include "foundation/Observable.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QSignalSpy>

#include <optional>
#include <string>
#include <vector>

namespace {

class Model final : public Observable {
public:
    Observed<bool> isLoading{this, false};
    Observed<std::optional<std::string>> error{this};
    Observed<std::vector<int>> rows{this};
};

TEST(ObservableTest, AnnouncesTheChangesOfOneTurnOnce)
{
    Model model;
    const QSignalSpy spy(&model, &Observable::changed);

    model.isLoading = true;
    model.error = "Couldn't list.";
    model.rows = {1, 2};
    EXPECT_EQ(spy.count(), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(spy.count(), 1);
    QCoreApplication::processEvents();

    EXPECT_EQ(spy.count(), 1);
    EXPECT_TRUE(*model.isLoading);
    EXPECT_EQ(model.error->value_or(""), "Couldn't list.");
}

TEST(ObservableTest, AnnouncesEveryUpdateButNoEqualValue)
{
    Model model;
    model.rows = {1};
    model.flushChanges();
    const QSignalSpy spy(&model, &Observable::changed);

    model.rows = {1};
    model.isLoading = false;
    model.flushChanges();
    EXPECT_EQ(spy.count(), 0);

    const auto size = model.rows.update([](std::vector<int>& rows) {
        rows.push_back(2);
        return rows.size();
    });
    EXPECT_EQ(size, 2U);
    model.flushChanges();
    QCoreApplication::processEvents();
    EXPECT_EQ(spy.count(), 1);
}

TEST(ObservableTest, AnnouncesAChangeMadeByAReaderInTheNextTurn)
{
    Model model;
    std::vector<bool> seen;
    QObject::connect(&model, &Observable::changed, &model, [&] {
        seen.push_back(*model.isLoading);
        model.isLoading = false;
    });

    model.isLoading = true;
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();

    EXPECT_THAT(seen, testing::ElementsAre(true, false));
}

} // namespace
