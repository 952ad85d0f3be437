#include "transfers/upload/UploadSource.h"
#include "tests/transfers/TransfersFixture.h"

#include <sys/stat.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class UploadSourceTest : public TransfersFixture {
protected:
    std::string refusalOf(const std::filesystem::path& path)
    {
        const auto source = inspectUploadSource(path);
        return source ? "taken" : failureText(BytesOperation::upload, source.error());
    }
};

TEST_F(UploadSourceTest, SaysWhyAFileCannotBeSent)
{
    mkfifo((directory / "pipe").c_str(), 0600);

    EXPECT_EQ(refusalOf(downloads), "\"downloads\" is a folder now, not a file. Nothing was stored.");
    EXPECT_THAT(refusalOf(directory / "pipe"), HasSubstr("is not a file with content"));
    EXPECT_THAT(refusalOf(directory / "gone.txt"), StartsWith("\"gone.txt\" is no longer in"));
}

TEST_F(UploadSourceTest, NoticesAFileThatIsNotWhatItWas)
{
    const auto file = directory / "a.txt";
    writeFile(file, "one");
    const auto source = inspectUploadSource(file);
    ASSERT_TRUE(source);
    EXPECT_EQ(compare(*source), SourceChange::none);

    writeFile(file, "three");
    EXPECT_EQ(compare(*source), SourceChange::changed);
    writeFile(directory / "other", "one");
    std::filesystem::last_write_time(directory / "other", std::filesystem::last_write_time(file));
    std::filesystem::rename(directory / "other", file);
    EXPECT_EQ(compare(*source), SourceChange::changed) << "another file of the same size under its name";
    std::filesystem::remove(file);
    EXPECT_EQ(compare(*source), SourceChange::gone);
}

TEST_F(UploadSourceTest, TakesTheTypeFromTheExtensionAlone)
{
    writeFile(directory / "a.jpg", "plain text");
    EXPECT_EQ(contentTypeFor(directory / "a.jpg"), "image/jpeg");
    EXPECT_EQ(contentTypeFor(directory / "nothing-known"), "b2/x-auto");
}

TEST_F(UploadSourceTest, NamesAFileByPrefixAndItsOwnBytes)
{
    EXPECT_EQ(uploadName("photos/", "/home/me/é ☕+%2F.txt "), "photos/é ☕+%2F.txt ");
    EXPECT_THAT(uploadName("", "/home/me/b\xFFoken").error().cause, HasSubstr("not valid UTF-8"));
    EXPECT_THAT(uploadName("", "/home/me/two\nlines").error().cause, HasSubstr("control characters"));
    EXPECT_EQ(uploadName(std::string(1019, 'p') + "/", "/abcd")->size(), 1024U);
    EXPECT_THAT(uploadName(std::string(1020, 'p') + "/", "/abcd").error().cause, HasSubstr("1025 bytes long"));
}

} // namespace
