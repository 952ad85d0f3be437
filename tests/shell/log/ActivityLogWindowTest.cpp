#include "shell/log/ActivityLogWindow.h"

#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/SearchField.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <gmock/gmock.h>

namespace {

class ActivityLogWindowTest : public testing::Test {
protected:
    void record(B2LogLevel level, const std::string& message, std::optional<std::string> detail = {})
    {
        log.record({level, "transfer", message, std::move(detail)});
    }

    QPushButton* button(const QString& text)
    {
        for (auto* const candidate : window.findChildren<QPushButton*>()) {
            if (candidate->text() == text)
                return candidate;
        }
        return nullptr;
    }

    QAbstractItemModel& rows() { return *window.findChild<QTreeView*>()->model(); }

    QTemporaryDir directory;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString()};
    ActivityLogWindow window{log, settings};
};

} // namespace

TEST_F(ActivityLogWindowTest, ShowsNewestFirstAndFindsTextInDetails)
{
    record(B2LogLevel::info, "first");
    record(B2LogLevel::notice, "second", "to Kraków");
    record(B2LogLevel::error, "third");

    EXPECT_EQ(rows().index(0, LogTableModel::messageColumn).data().toString(), QStringLiteral("third"));
    auto* const search = window.findChild<SearchField*>();
    QTest::keyClicks(search, QStringLiteral("KRAK"));
    ASSERT_EQ(rows().rowCount(), 1);
    EXPECT_EQ(rows().index(0, LogTableModel::messageColumn).data().toString(), QStringLiteral("second"));
}

TEST_F(ActivityLogWindowTest, SortsByAClickAndKeepsColumnsAndSort)
{
    record(B2LogLevel::info, "b");
    record(B2LogLevel::info, "c");
    record(B2LogLevel::info, "a");
    window.show();
    auto& header = *window.findChild<QTreeView*>()->header();
    const auto click = [&](int section) {
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
            QPoint(header.sectionViewportPosition(section) + 20, header.height() / 2));
    };
    const auto shown = [&](QAbstractItemModel& model) {
        QString letters;
        for (int row = 0; row < model.rowCount(); ++row)
            letters += model.index(row, LogTableModel::messageColumn).data().toString();
        return letters;
    };

    EXPECT_EQ(header.sectionSize(LogTableModel::levelColumn), 32);
    click(LogTableModel::messageColumn);
    EXPECT_EQ(shown(rows()), QStringLiteral("abc"));
    EXPECT_EQ(settings.text(SettingsKeys::tableSort("log")), "message:asc");
    click(LogTableModel::messageColumn);
    EXPECT_EQ(shown(rows()), QStringLiteral("cba"));
    header.resizeSection(LogTableModel::areaColumn, 222);
    QApplication::processEvents();

    const ActivityLogWindow next(log, settings);
    EXPECT_EQ(shown(*next.findChild<QTreeView*>()->model()), QStringLiteral("cba"));
    EXPECT_EQ(next.findChild<QTreeView*>()->header()->sectionSize(LogTableModel::areaColumn), 222);
    EXPECT_EQ(next.findChild<QTreeView*>()->header()->sortIndicatorOrder(), Qt::DescendingOrder);
}

TEST_F(ActivityLogWindowTest, CopiesWhatIsShownOldestFirst)
{
    EXPECT_FALSE(button(QStringLiteral("Copy"))->isEnabled());
    record(B2LogLevel::info, "first");
    record(B2LogLevel::info, "second\nforged line");
    log.flushChanges();

    QTest::mouseClick(button(QStringLiteral("Copy")), Qt::LeftButton);

    const QStringList lines = QApplication::clipboard()->text().split(u'\n');
    ASSERT_EQ(lines.size(), 2) << "a line break in a message must not start another line";
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral("[transfer]  first")));
    EXPECT_TRUE(lines[1].contains(QStringLiteral("second")));
    EXPECT_NE(button(QStringLiteral("Copied")), nullptr);
}

TEST_F(ActivityLogWindowTest, StaysCorrectWhileTheLogIsFullAndIsCleared)
{
    std::size_t number = 0;
    const auto recordUntil = [&](std::size_t count) {
        while (number < count)
            record(B2LogLevel::info, "entry " + std::to_string(number++));
    };
    recordUntil(ActivityLog::maxEntries - 5);
    LogTableModel model(log);
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    recordUntil(ActivityLog::maxEntries + 20);

    EXPECT_EQ(rows().rowCount(), 5000);
    EXPECT_EQ(rows().index(0, LogTableModel::messageColumn).data().toString(), QStringLiteral("entry 5019"));
    EXPECT_EQ(rows().index(4999, LogTableModel::messageColumn).data().toString(), QStringLiteral("entry 20"));

    QTest::mouseClick(button(QStringLiteral("Clear")), Qt::LeftButton);
    EXPECT_EQ(rows().rowCount(), 0);
}

TEST_F(ActivityLogWindowTest, RecordsEveryCallOnlyWhenAsked)
{
    record(B2LogLevel::debug, "noise");
    EXPECT_EQ(log.entries().size(), 0U);

    for (auto* const choice : window.findChildren<QComboBox*>()) {
        if (choice->accessibleName() == QStringLiteral("Record"))
            choice->setCurrentIndex(0);
    }
    record(B2LogLevel::debug, "noise");

    EXPECT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(rows().rowCount(), 0) << "only entries from Info up are shown";
}
