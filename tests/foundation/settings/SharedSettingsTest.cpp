#include "foundation/settings/FileLock.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsFile.h"
#include "tests/foundation/TemporaryDirectory.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QProcess>
#include <QSignalSpy>

#include <cstdlib>
#include <sys/stat.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr auto fileVariable = "SHARED_SETTINGS_TEST_FILE";

/// Two programs with one file.
class SharedSettingsTest : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::filesystem::path file = directory / "settings.json";

    /// A process of its own that writes other keys until it is killed.
    std::unique_ptr<QProcess> startWriter() const
    {
        auto writer = std::make_unique<QProcess>();
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(fileVariable), toQString(file.string()));
        writer->setProcessEnvironment(environment);
        writer->start(QCoreApplication::applicationFilePath(),
            {QStringLiteral("--gtest_also_run_disabled_tests"),
                QStringLiteral("--gtest_filter=SharedSettingsWriter.DISABLED_WritesUntilItIsKilled")});
        return writer;
    }
};

} // namespace

// The body of the process that the tests start; does nothing by itself.
TEST(SharedSettingsWriter, DISABLED_WritesUntilItIsKilled)
{
    const char* const path = std::getenv(fileVariable);
    ASSERT_TRUE(path);
    Settings settings{std::filesystem::path(path)};
    for (std::int64_t i = settings.integer("child").value_or(0) + 1;; ++i) {
        settings.set("child", i);
        settings.set("child.filling." + std::to_string(i % 50), std::string(200, 'x'));
        ASSERT_TRUE(settings.flush(30s));
    }
}

TEST_F(SharedSettingsTest, MergesByKeyAndTheLastWriteOfAKeyWins)
{
    writeFile(file, R"({"both": 0, "gone here": 1, "gone there": 1, "kept": {"future": [1]}})");
    Settings first(file);
    Settings second(file);
    const QSignalSpy told(&first, &Settings::changed);

    second.set("of second", 2);
    second.set("both", 2);
    second.remove("gone there");
    ASSERT_TRUE(second.flush(5s));
    first.set("of first", 1);
    first.remove("gone here");
    ASSERT_TRUE(first.flush(5s));

    EXPECT_EQ(first.integer("of second"), 2);
    EXPECT_EQ(first.integer("both"), 2);
    EXPECT_THAT(first.keys(), ElementsAre("both", "kept", "of first", "of second"));
    EXPECT_EQ(told.count(), 2 + 3) << "two of its own, three of the other's";
    EXPECT_EQ(Settings(file).keys(), first.keys());
    EXPECT_THAT(readFile(file), HasSubstr("future"));

    // A value is not written a second time over a later one.
    second.set("both", 3);
    ASSERT_TRUE(second.flush(5s));
    first.set("both", 4);
    ASSERT_TRUE(first.flush(5s));
    second.set("both", 5);
    ASSERT_TRUE(second.flush(5s));
    first.set("unrelated", true);
    ASSERT_TRUE(first.flush(5s));
    EXPECT_EQ(Settings(file).integer("both"), 5);
    EXPECT_EQ(first.integer("both"), 5);
}

TEST_F(SharedSettingsTest, KeepsItsOwnChangeMadeWhileAWriteIsUnderWay)
{
    Settings first(file);
    Settings second(file);
    second.set("name", "theirs");
    ASSERT_TRUE(second.flush(5s));

    first.set("other", 1);
    std::optional<FileLock> held = FileLock::take(settingsLock(file), 1s).value();
    EXPECT_FALSE(first.flush(50ms)) << "the write waits for the lock";
    first.set("name", "ours");
    held.reset();
    ASSERT_TRUE(spinUntil([&] { return Settings(file).integer("other") == 1; }));

    EXPECT_EQ(first.text("name"), "ours");
    ASSERT_TRUE(first.flush(5s));
    EXPECT_EQ(Settings(file).text("name"), "ours");
}

TEST_F(SharedSettingsTest, GivesUpOnALockThatIsHeldAndWritesLater)
{
    Settings settings(file, nullptr, 20ms);
    const QSignalSpy told(&settings, &Settings::writeFailed);
    std::optional<FileLock> held = FileLock::take(settingsLock(file), 1s).value();
    settings.set("a", 1);

    EXPECT_FALSE(settings.flush(5s));
    EXPECT_FALSE(settings.flush(5s));

    ASSERT_EQ(told.count(), 1);
    EXPECT_THAT(told.front().front().toString().toStdString(), HasSubstr("another program is using the file"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(settings.integer("a"), 1);
    held.reset();
    EXPECT_TRUE(settings.flush(5s)) << "without a change, as at the end of the process";
    EXPECT_EQ(Settings(file).integer("a"), 1);
    struct stat status{};
    ASSERT_EQ(::stat(settingsLock(file).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(SharedSettingsTest, WritesEverythingInUseToAFileDamagedOrRemovedInTheMeantime)
{
    Settings settings(file);
    const QSignalSpy told(&settings, &Settings::writeFailed);
    settings.set("a", 1);
    ASSERT_TRUE(settings.flush(5s));

    writeFile(file, "{\"a\": ");
    settings.set("b", 2);
    EXPECT_TRUE(settings.flush(5s));
    EXPECT_THAT(Settings(file).keys(), ElementsAre("a", "b"));
    EXPECT_EQ(readFile(directory / "settings.json.damaged-1"), "{\"a\": ");
    ASSERT_EQ(told.count(), 1);
    EXPECT_THAT(told.front().front().toString().toStdString(), HasSubstr("settings.json.damaged-1"));

    std::filesystem::remove(file);
    settings.set("c", 3);
    EXPECT_TRUE(settings.flush(5s));
    EXPECT_THAT(Settings(file).keys(), ElementsAre("a", "b", "c"));
}

TEST_F(SharedSettingsTest, LosesNoKeyInManyWritesAtOnce)
{
    constexpr int rounds = 200;
    Settings first(file);
    Settings second(file);
    for (int i = 0; i < rounds; ++i) {
        const auto number = std::to_string(i);
        first.set("first." + number, i);
        second.set("second." + number, i);
        first.set("both", i);
        second.set("both", -i);
        if (i > 0) {
            first.remove("first." + std::to_string(i - 1));
            second.remove("second." + std::to_string(i - 1));
        }
        // The writes of both run on threads of their own.
        (void)first.flush(0ms);
        (void)second.flush(0ms);
        ASSERT_TRUE(first.flush(5s) && second.flush(5s));
        const Settings stored(file);
        ASSERT_THAT(stored.keys(), ElementsAre("both", "first." + number, "second." + number));
        ASSERT_EQ(std::abs(*stored.integer("both")), i);
    }
}

TEST_F(SharedSettingsTest, SurvivesTheKillOfAnotherProcessInTheMiddleOfItsWrite)
{
    Settings settings(file);
    for (int i = 0; i < 5; ++i) {
        const auto before = Settings(file).integer("child").value_or(0);
        const auto writer = startWriter();
        ASSERT_TRUE(spinUntil([&] {
            settings.set("own." + std::to_string(i), settings.integer("own." + std::to_string(i)).value_or(0) + 1);
            EXPECT_TRUE(settings.flush(30s));
            return settings.integer("child").value_or(0) > before + 5;
        }));
        writer->kill();
        writer->waitForFinished();

        const auto seen = *settings.integer("child");
        settings.set("own.last", i);
        ASSERT_TRUE(settings.flush(5s)) << "no lock is left behind";
        const Settings stored(file);
        EXPECT_EQ(stored.loadNotice(), std::nullopt);
        EXPECT_GE(stored.integer("child").value_or(0), seen);
        for (int each = 0; each <= i; ++each)
            EXPECT_EQ(stored.integer("own." + std::to_string(each)), settings.integer("own." + std::to_string(each)));
    }
}
