#include "foundation/settings/Settings.h"
#include "tests/foundation/TemporaryDirectory.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QSignalSpy>

#include <limits>
#include <sys/stat.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class SettingsTest : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::filesystem::path file = directory / "kestrovan" / "settings.json";

    void writeSettings(std::string_view content)
    {
        std::filesystem::create_directories(file.parent_path());
        writeFile(file, content);
    }
};

mode_t modeOf(const std::filesystem::path& path)
{
    struct stat status{};
    ::stat(path.c_str(), &status);
    return status.st_mode & 0777;
}

TEST_F(SettingsTest, KeepsTypedValuesAcrossARestart)
{
    const std::string binary("\0\xFF{}\n", 5);
    {
        Settings settings(file);
        settings.set("flag", true);
        settings.set("count", std::numeric_limits<std::int64_t>::max());
        settings.set("rate", 6.95);
        settings.set("whole", 7.0);
        settings.set("name", "Fotos \u2028 \"2026\"");
        settings.setBytes("cache", binary);
        ASSERT_TRUE(settings.flush(5s));
    }
    const Settings settings(file);
    EXPECT_EQ(settings.boolean("flag"), true);
    EXPECT_EQ(settings.integer("count"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(settings.number("rate"), 6.95);
    EXPECT_EQ(settings.number("whole"), 7.0);
    EXPECT_EQ(settings.text("name"), "Fotos \u2028 \"2026\"");
    EXPECT_EQ(settings.bytes("cache"), binary);
    EXPECT_EQ(settings.loadNotice(), std::nullopt);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.parent_path()), 0700U);
}

TEST_F(SettingsTest, ReturnsNothingForAValueOfAnotherType)
{
    writeSettings(R"({"text": "x", "fraction": 1.5, "huge": 1e300, "list": [1], "none": null, "odd": "=not base64="})");
    const Settings settings(file);

    EXPECT_EQ(settings.boolean("text"), std::nullopt);
    EXPECT_EQ(settings.integer("text"), std::nullopt);
    EXPECT_EQ(settings.integer("fraction"), std::nullopt);
    EXPECT_EQ(settings.integer("huge"), std::nullopt);
    EXPECT_EQ(settings.number("text"), std::nullopt);
    EXPECT_EQ(settings.text("fraction"), std::nullopt);
    EXPECT_EQ(settings.text("list"), std::nullopt);
    EXPECT_EQ(settings.text("none"), std::nullopt);
    EXPECT_EQ(settings.bytes("odd"), std::nullopt);
    EXPECT_EQ(settings.text("absent"), std::nullopt);
}

TEST_F(SettingsTest, AnnouncesRealChangesOnly)
{
    Settings settings(file);
    const QSignalSpy spy(&settings, &Settings::changed);

    settings.set("a", 1);
    settings.set("a", 1);
    settings.set("table.x.1", "p");
    settings.set("table.x.2", "q");
    settings.removePrefix("table.x.");
    settings.remove("absent");

    EXPECT_EQ(spy.count(), 5);
    EXPECT_THAT(settings.keys(), ElementsAre("a"));
    EXPECT_TRUE(settings.flush(5s));
}

TEST_F(SettingsTest, WritesSoonAfterAChange)
{
    Settings settings(file);
    settings.set("a", 1);
    EXPECT_FALSE(std::filesystem::exists(file));

    EXPECT_TRUE(spinUntil([&] { return std::filesystem::exists(file); }, 5s));

    EXPECT_EQ(Settings(file).integer("a"), 1);
}

TEST_F(SettingsTest, SetsADamagedFileAsideAndSaysSo)
{
    for (const std::string content : {"", "{\"a\": 1", "\x7F\x45LF\x02\x01", "[1, 2]", "null"}) {
        const TemporaryDirectory place;
        writeFile(place / "settings.json", content);
        writeFile(place / "settings.json.damaged-1", "an earlier one");

        Settings settings(place / "settings.json");

        ASSERT_TRUE(settings.loadNotice()) << content;
        EXPECT_THAT(*settings.loadNotice(), HasSubstr("settings.json.damaged-2"));
        EXPECT_EQ(readFile(place / "settings.json.damaged-1"), "an earlier one");
        EXPECT_EQ(readFile(place / "settings.json.damaged-2"), content);
        EXPECT_TRUE(settings.keys().empty());
        settings.set("a", 2);
        EXPECT_TRUE(settings.flush(5s));
        EXPECT_EQ(Settings(place / "settings.json").integer("a"), 2);
    }
}

TEST_F(SettingsTest, SetsAsideADirectoryOrAPipeInPlaceOfTheFile)
{
    std::filesystem::create_directories(file / "inside");
    EXPECT_TRUE(Settings(file).loadNotice());
    EXPECT_TRUE(std::filesystem::exists(directory / "kestrovan" / "settings.json.damaged-1" / "inside"));

    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_TRUE(Settings(file).loadNotice());
    EXPECT_EQ(Settings(file).loadNotice(), std::nullopt);
}

TEST_F(SettingsTest, WorksInMemoryWhereNothingCanBeWritten)
{
    writeFile(directory / "kestrovan", "a file in the directory's place");

    Settings settings(file);
    settings.set("a", 1);

    ASSERT_TRUE(settings.loadNotice());
    EXPECT_THAT(*settings.loadNotice(), HasSubstr("lost when Kestrovan quits"));
    EXPECT_EQ(settings.integer("a"), 1);
    EXPECT_TRUE(settings.flush(5s));
}

TEST_F(SettingsTest, ReportsOnceThatItCannotSaveAndSavesWhenItCanAgain)
{
    Settings settings(file);
    const QSignalSpy spy(&settings, &Settings::writeFailed);
    std::filesystem::remove_all(file.parent_path());

    settings.set("a", 1);
    EXPECT_FALSE(settings.flush(5s));
    settings.set("a", 2);
    EXPECT_FALSE(settings.flush(5s));
    QCoreApplication::processEvents();
    EXPECT_EQ(spy.count(), 1);

    std::filesystem::create_directories(file.parent_path());
    settings.set("b", 3);
    EXPECT_TRUE(settings.flush(5s));
    EXPECT_EQ(Settings(file).integer("a"), 2);
}

TEST_F(SettingsTest, KeepsUnknownValuesAndTheUsersLink)
{
    writeFile(directory / "dotfile.json", R"({"future": {"deep": [1, 2, {"x": null}]}, "a": 1})");
    std::filesystem::create_directories(file.parent_path());
    std::filesystem::create_symlink(directory / "dotfile.json", file);
    {
        Settings settings(file);
        settings.set("a", 2);
        EXPECT_TRUE(settings.flush(5s));
    }
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_THAT(readFile(directory / "dotfile.json"), HasSubstr("deep"));
    EXPECT_EQ(Settings(file).integer("a"), 2);
}

} // namespace
