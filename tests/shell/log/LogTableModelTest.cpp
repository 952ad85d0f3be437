#include "shell/log/LogTableModel.h"

#include "foundation/QtText.h"
#include "foundation/settings/Settings.h"

#include <gmock/gmock.h>

#include <QTemporaryDir>

using testing::ElementsAre;

namespace {

class LogTableModelTest : public testing::Test {
protected:
    std::vector<std::string> messages() const
    {
        std::vector<std::string> shown;
        for (int row = 0; row < table.rowCount(); ++row)
            shown.push_back(table.entry(table.index(row, 0)).message);
        return shown;
    }

    void record(B2LogLevel level, std::string message) { log.record({level, "app", std::move(message), std::nullopt}); }

    QTemporaryDir directory;
    Settings settings{std::filesystem::path()};
    ActivityLog log{settings, fromQString(directory.path())};
    LogTableModel rows{log};
    LogFilterModel table{rows};
};

TEST_F(LogTableModelTest, EqualEntriesAreShownNewestFirst)
{
    record(B2LogLevel::error, "1");
    record(B2LogLevel::info, "2");
    record(B2LogLevel::error, "3");
    record(B2LogLevel::info, "4");

    table.sort(LogTableModel::levelColumn, Qt::AscendingOrder);
    EXPECT_THAT(messages(), ElementsAre("4", "2", "3", "1"));
    table.sort(LogTableModel::levelColumn, Qt::DescendingOrder);
    EXPECT_THAT(messages(), ElementsAre("3", "1", "4", "2"));
    table.sort(LogTableModel::timeColumn, Qt::DescendingOrder);
    EXPECT_THAT(messages(), ElementsAre("4", "3", "2", "1"));
}

} // namespace
