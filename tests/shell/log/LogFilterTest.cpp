#include "shell/log/LogFilter.h"

#include <gmock/gmock.h>

TEST(LogFilterTest, FindsAnyCaseInMessageAreaAndDetail)
{
    const LogEntry entry({B2LogLevel::notice, "transfer", "Uploaded Größe.txt", "to photos/"});
    const auto shows = [&](const QString& text) { return LogFilter{B2LogLevel::debug, text}.shows(entry); };

    EXPECT_TRUE(shows({}));
    EXPECT_TRUE(shows(QStringLiteral("GRÖSSE").toLower().replace(QStringLiteral("ss"), QStringLiteral("ß"))));
    EXPECT_TRUE(shows(QStringLiteral("TRANSFER")));
    EXPECT_TRUE(shows(QStringLiteral("Photos/")));
    EXPECT_FALSE(shows(QStringLiteral("download")));
}

TEST(LogFilterTest, HidesWhatIsBelowTheLevel)
{
    const LogEntry entry({B2LogLevel::info, "app", "Started", {}});

    EXPECT_TRUE((LogFilter{B2LogLevel::info, {}}.shows(entry)));
    EXPECT_FALSE((LogFilter{B2LogLevel::notice, {}}.shows(entry)));
}
