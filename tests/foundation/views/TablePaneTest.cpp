#include "foundation/views/tables/TablePane.h"

#include "foundation/QtText.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/KeyedRowsModel.h"
#include "foundation/views/tables/TableColumns.h"
#include "tests/foundation/views/Scene.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QHeaderView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class NamesModel final : public KeyedRows<std::string> {
public:
    void show(std::vector<std::string> names) { showRows(std::move(names)); }

    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 3; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(toQString(row(index.row()))) : QVariant();
    }
    QVariant headerData(int section, Qt::Orientation, int role) const override
    {
        static const QStringList ids{text("name"), text("size"), text("added")};
        static const QStringList titles{text("Name"), text("Size"), text("Added")};
        if (role == TableRole::columnID)
            return ids.at(section);
        return role == Qt::DisplayRole ? QVariant(titles.at(section)) : QVariant();
    }

private:
    std::string_view keyOf(const std::string& name) const override { return name; }
};

class NamesPane final : public TablePane {
public:
    NamesPane(Settings& settings, ActivityLog& log)
        : TablePane(settings, log, nullptr)
    {
        build(rows, {.name = "names", .firstColumns = text("name 200; size 90; added 80"), .defaultOrder = {{"name"}}},
            {});
        resize(600, 300);
    }

    using TablePane::dismissFailure;
    using TablePane::isTableShown;
    using TablePane::keepPlace;
    using TablePane::Message;
    using TablePane::selectedRows;
    using TablePane::showFailure;
    using TablePane::showMessage;
    using TablePane::showNotice;
    using TablePane::showTable;
    using TablePane::showWaiting;

    void show(std::vector<std::string> names)
    {
        rows.show(std::move(names));
        revealIfListed();
    }

    QHeaderView& header() { return *table_->horizontalHeader(); }
    const TableState& state() const { return *tableState_; }
    Banner& banner() { return *banner_; }
    EmptyState& message() { return *message_; }
    bool isBlank() const { return blank_->isVisible(); }

    NamesModel rows;
};

class TablePaneTest : public testing::Test {
protected:
    static std::vector<std::string> manyNames(int count)
    {
        std::vector<std::string> names;
        for (int number = 0; number < count; ++number)
            names.push_back("name " + std::to_string(1000 + number));
        return names;
    }

    QTemporaryDir directory;
    Settings settings{""};
    ActivityLog log{settings, fromQString(directory.path())};
    NamesPane pane{settings, log};
};

TEST_F(TablePaneTest, KeepsColumnsAndSortFromOneRunToTheNext)
{
    present(pane);
    EXPECT_EQ(pane.header().sectionSize(1), 90);
    EXPECT_FALSE(settings.text(SettingsKeys::tableColumns("names"))) << "the user has changed nothing";
    QSignalSpy chosen(&pane.state(), &TableState::orderChosen);

    pane.header().resizeSection(1, 123);
    pane.header().setSectionHidden(2, true);
    for (const int section : {2, 1, 0, 1, 1})
        pane.header().setSortIndicator(section, section == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);

    QApplication::processEvents();
    EXPECT_EQ(settings.text(SettingsKeys::tableSort("names")), "size:desc,name:asc,added:asc");
    EXPECT_EQ(chosen.size(), 4) << "the sort that is shown already is no choice";
    NamesPane next(settings, log);
    EXPECT_EQ(next.header().sectionSize(1), 123);
    EXPECT_TRUE(next.header().isSectionHidden(2));
    EXPECT_EQ(next.header().sortIndicatorSection(), 1);
    EXPECT_EQ(next.header().sortIndicatorOrder(), Qt::DescendingOrder);
    EXPECT_EQ(next.state().order(), pane.state().order());
}

TEST_F(TablePaneTest, StoredStateThatIsDamagedLosesOnlyItsBadParts)
{
    settings.set(SettingsKeys::tableSort("names"), "weight:asc,size:desc:asc,,size:down,added:desc");
    settings.set(SettingsKeys::tableColumns("names"), "size 77; weight 30; sort size descending");
    NamesPane damaged(settings, log);

    EXPECT_THAT(damaged.state().order(), ElementsAre(SortOrder{"size", true}, SortOrder{"added", false}));
    EXPECT_EQ(damaged.header().sectionSize(1), 77);

    settings.set(SettingsKeys::tableSort("names"), "weight:asc");
    EXPECT_THAT(NamesPane(settings, log).state().order(), ElementsAre(SortOrder{"name", true}));
}

TEST_F(TablePaneTest, LogsTheColumnThatWasFitted)
{
    log.setMinimumLevel(B2LogLevel::debug);
    pane.show(manyNames(500));
    present(pane);
    const int visible = pane.table().rowAt(pane.table().viewport()->height() - 1) + 1;
    const auto before = log.entries().size();
    auto* const viewport = pane.header().viewport();
    const QPoint edge(pane.header().sectionViewportPosition(2) - 1, pane.header().height() / 2);

    QTest::mouseDClick(viewport, Qt::LeftButton, {}, edge);

    ASSERT_EQ(log.entries().size(), before + 1);
    EXPECT_EQ(log.entries().back().level, B2LogLevel::debug);
    EXPECT_EQ(log.entries().back().category, "table");
    EXPECT_EQ(log.entries().back().message,
        "Fitted the Size column to " + std::to_string(pane.header().sectionSize(1)) + " points from "
            + std::to_string(visible) + " of 500 rows in names");
}

TEST_F(TablePaneTest, AShortWaitShowsNoSentenceAndALongOneTheLatest)
{
    present(pane);
    pane.showWaiting({Symbol::cloud, text("Reading a"), {}, {}, {}});
    EXPECT_TRUE(pane.isBlank());
    pane.showTable();
    QTest::qWait(260);
    EXPECT_TRUE(pane.isTableShown()) << "the wait was over before its sentence was due";

    pane.showWaiting({Symbol::cloud, text("Reading a"), {}, {}, {}});
    pane.showWaiting({Symbol::cloud, text("Reading b"), {}, {}, {}});
    EXPECT_TRUE(pane.isBlank());
    ASSERT_TRUE(QTest::qWaitFor([&] { return pane.message().isVisible(); }));
    EXPECT_EQ(pane.message().accessibleName(), text("Reading b"));
    pane.showWaiting({Symbol::cloud, text("Reading c"), {}, {}, {}});
    EXPECT_EQ(pane.message().accessibleName(), text("Reading c"));
    EXPECT_TRUE(pane.message().isVisible()) << "a sentence that was shown does not flicker";
}

TEST_F(TablePaneTest, AFailureThatWasClosedStaysClosedUntilItIsAnother)
{
    present(pane);
    pane.showNotice(text("A remark"));
    pane.showFailure("First", text("Try Again"));
    EXPECT_EQ(pane.banner().text(), text("First"));
    for (auto* const button : pane.banner().findChildren<QAbstractButton*>()) {
        if (button->accessibleName() == text("Close this message"))
            button->click();
    }
    pane.showFailure("First", text("Try Again"));
    EXPECT_FALSE(pane.banner().isVisible());

    pane.showFailure("Second", {});
    EXPECT_EQ(pane.banner().text(), text("Second"));
    pane.showFailure({}, {});
    EXPECT_FALSE(pane.banner().isVisible());
    pane.dismissFailure("Third");
    pane.showFailure("Third", {});
    EXPECT_FALSE(pane.banner().isVisible()) << "it is shown elsewhere";
    pane.showNotice(text("A remark"));
    EXPECT_EQ(pane.banner().text(), text("A remark"));
}

TEST_F(TablePaneTest, RevealsAKeyOnceItIsListed)
{
    present(pane);
    pane.reveal("name 1150");
    EXPECT_THAT(pane.selectedRows(), IsEmpty());

    pane.show(manyNames(200));
    EXPECT_THAT(pane.selectedRows(), ElementsAre(150));
    EXPECT_TRUE(pane.table().viewport()->rect().intersects(pane.table().visualRect(pane.rows.index(150))));

    pane.table().selectRow(3);
    pane.show(manyNames(210));
    EXPECT_THAT(pane.selectedRows(), ElementsAre(3)) << "it was revealed once";
}

TEST_F(TablePaneTest, RowsThatComeAboveDoNotMoveTheOnesInSight)
{
    pane.show(manyNames(200));
    present(pane);
    pane.table().verticalScrollBar()->setValue(1000);
    const auto first = pane.rows.row(pane.table().rowAt(0));
    const int position = pane.table().rowViewportPosition(pane.table().rowAt(0));
    auto more = manyNames(200);
    for (int number = 0; number < 50; ++number)
        more.insert(more.begin(), "above " + std::to_string(number));

    pane.keepPlace([&] { pane.show(more); });

    EXPECT_EQ(pane.rows.row(pane.table().rowAt(0)), first);
    EXPECT_EQ(pane.table().rowViewportPosition(pane.table().rowAt(0)), position);
}

TEST_F(TablePaneTest, GivesTheKeyboardToTheRowsOrToTheHelpingButton)
{
    pane.show({"a", "b"});
    present(pane);
    pane.takeFocus();
    EXPECT_TRUE(pane.table().hasFocus());

    pane.showMessage({Symbol::folder, text("Nothing"), {}, text("Make One"), {}});
    pane.takeFocus();
    auto* const button = qobject_cast<QAbstractButton*>(QApplication::focusWidget());
    ASSERT_TRUE(button);
    EXPECT_EQ(button->text(), text("Make One"));

    pane.showTable();
    EXPECT_TRUE(pane.table().hasFocus()) << "the keyboard follows to the rows";
}

} // namespace
