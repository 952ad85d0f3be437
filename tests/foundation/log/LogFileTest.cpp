#include "foundation/log/LogFile.h"
#include "tests/foundation/TemporaryDirectory.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

LogEntry entry(std::string message, std::optional<std::string> detail = {})
{
    return LogEntry({B2LogLevel::info, "app", std::move(message), std::move(detail)});
}

std::vector<std::string> messagesOf(const std::deque<LogEntry>& entries)
{
    std::vector<std::string> messages;
    for (const auto& each : entries)
        messages.push_back(each.message);
    return messages;
}

class LogFileTest : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::filesystem::path current = directory / "Logs" / "activity.jsonl";
    std::filesystem::path previous = directory / "Logs" / "activity-previous.jsonl";
    LogFile file{directory / "Logs"};

    void append(std::vector<LogEntry> entries) { qtRun(file.append(std::move(entries))); }
    std::vector<std::string> read(std::size_t limit = 5000) { return messagesOf(qtRun(file.read(limit))); }
};

TEST(LogEntryTest, IsOneLineOfJSONWithItsDateFrom2001)
{
    LogEntry written = entry("Line one\nline two \"quoted\"", "why\nand how");
    written.date = std::chrono::sys_days(std::chrono::year(2001) / 1 / 2) + std::chrono::milliseconds(1'500);
    written.level = B2LogLevel::warning;

    const auto line = encodeLogLine(written);

    EXPECT_THAT(line, HasSubstr("\"date\":86401.5"));
    EXPECT_THAT(line, HasSubstr("\"level\":3"));
    EXPECT_THAT(line, HasSubstr(written.id.toString(QUuid::WithoutBraces).toUpper().toStdString()));
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(decodeLogLine(line), written);
    EXPECT_EQ(encodeLogLine(entry("x", "")).find("detail"), std::string::npos);
}

TEST(LogEntryTest, IsNotDecodedFromADamagedLine)
{
    const auto line = encodeLogLine(entry("m"));
    EXPECT_TRUE(decodeLogLine(line));
    EXPECT_FALSE(decodeLogLine(line.substr(0, line.size() / 2)));
    EXPECT_FALSE(decodeLogLine("{}"));
    EXPECT_FALSE(decodeLogLine("[]"));
    EXPECT_FALSE(decodeLogLine("\xFF\xFE"));
    constexpr auto* id = R"({"id":"9E1F0B5C-0000-4000-8000-000000000001",)";
    EXPECT_TRUE(decodeLogLine(std::string(id) + R"("date":1,"level":0,"category":"a","message":"m"})"));
    EXPECT_FALSE(decodeLogLine(std::string(id) + R"("date":1,"level":9,"category":"a","message":"m"})"));
    EXPECT_FALSE(decodeLogLine(std::string(id) + R"("date":1e300,"level":0,"category":"a","message":"m"})"));
    EXPECT_FALSE(decodeLogLine(std::string(id) + R"("date":1,"level":0,"category":"a","message":4})"));
}

TEST(LogEntryTest, CannotBeForgedByALineBreak)
{
    LogEntry shown = entry("name\n2026-01-01 00:00:00.000  ERROR    [app]  forged", "first\r\nsecond");
    EXPECT_THAT(shown.formatted(),
        MatchesRegex(
            "[-0-9]+ [0-9:]+\\.[0-9][0-9][0-9]  INFO     \\[app\\]  name␊2026.*forged\n    first\n    second"));
    shown.detail = "";
    EXPECT_EQ(shown.formatted().find('\n'), std::string::npos);
}

TEST_F(LogFileTest, CreatesItsFilesForTheOwnerAloneAndReadsThemBack)
{
    EXPECT_THAT(read(), ElementsAre());

    append({entry("one"), entry("two")});
    append({entry("three")});

    EXPECT_THAT(read(), ElementsAre("one", "two", "three"));
    EXPECT_THAT(read(2), ElementsAre("two", "three"));
    struct stat status{};
    ASSERT_EQ(::stat(current.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    qtRun(file.clear());
    EXPECT_FALSE(std::filesystem::exists(current));
    append({entry("four")});
    EXPECT_THAT(read(), ElementsAre("four"));
}

TEST_F(LogFileTest, RotatesAboveFiveMillionBytesAndNotAtThem)
{
    const auto first = encodeLogLine(entry("first")) + '\n';
    writeFile(current, first + std::string(5'000'000 - first.size(), '\n'));
    append({entry("second"), entry("third")});

    EXPECT_THAT(readFile(previous), testing::AllOf(HasSubstr("first"), HasSubstr("second")));
    EXPECT_THAT(readFile(current), HasSubstr("third"));
    EXPECT_THAT(read(), ElementsAre("first", "second", "third"));
    EXPECT_THAT(read(2), ElementsAre("second", "third"));
}

TEST_F(LogFileTest, KeepsWritingToTheLargeFileWhenItCannotRotate)
{
    std::filesystem::create_directories(previous / "locked");
    writeFile(current, std::string(5'000'001, '\n'));

    append({entry("one"), entry("two")});

    EXPECT_THAT(read(), ElementsAre("one", "two"));
}

TEST_F(LogFileTest, LosesOnlyTheDamagedLine)
{
    append({entry("one")});
    writeFile(current, readFile(current) + "{\"id\": garbage}\n\n" + encodeLogLine(entry("two")) + "\n{\"half");

    append({entry("three")});

    EXPECT_THAT(read(), ElementsAre("one", "two", "three"));
}

TEST_F(LogFileTest, LeavesNoIncompleteLineOnAFullDisk)
{
    append({entry("one")});
    const auto size = std::filesystem::file_size(current);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{size * 2 + 10, before.rlim_max};
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &full);
    append({entry("two"), entry("three")});
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, signalBefore);

    EXPECT_EQ(readFile(current).back(), '\n');
    append({entry("four")});

    EXPECT_THAT(read(), ElementsAre("one", "two", "four"));
}

TEST_F(LogFileTest, SurvivesDirectoriesItCannotWriteTo)
{
    writeFile(directory / "file", "");
    LogFile nowhere(directory / "file" / "Logs");
    qtRun(nowhere.append({entry("lost")}));
    EXPECT_TRUE(qtRun(nowhere.read(10)).empty());

    std::filesystem::create_directories(current);
    append({entry("lost")});
    EXPECT_THAT(read(), ElementsAre());

    std::filesystem::remove(current);
    std::filesystem::create_symlink(directory / "file", current);
    append({entry("lost")});
    EXPECT_EQ(readFile(directory / "file"), "");
}

} // namespace
