#include "tests/B2Kit/wire/Decoding.h"

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2File.h"
#include "B2Kit/B2Key.h"

#include <gmock/gmock.h>

using testing::AnyOf;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

constexpr auto version =
    R"({"fileName": "a", "action": "upload", "fileId": "f", "contentLength": 1, "fileInfo": {"k": "v"}})";

std::string pageOf(std::string_view row, int count = 1)
{
    std::string page = R"({"files": [)";
    for (int index = 0; index < count; ++index)
        page.append(index > 0 ? "," : "").append(row);
    return page + R"(], "nextFileName": null})";
}

} // namespace

TEST(HostileAnswersTest, EveryTruncatedAnswerIsRefused)
{
    const auto page = pageOf(version, 2);
    for (std::size_t length = 0; length < page.size(); ++length)
        EXPECT_NE(refusal<B2FileListPage>(page.substr(0, length)), "") << length;
    EXPECT_EQ(refusal<B2FileListPage>(page), "");
    EXPECT_EQ(refusal<B2FileListPage>(""), "the answer is empty");
    EXPECT_EQ(refusal<B2FileListPage>("<html>502 Bad Gateway</html>"), "the answer is no valid JSON");
}

TEST(HostileAnswersTest, WrongTypesNameTheirPlace)
{
    EXPECT_EQ(refusal<B2FileListPage>("null"), "expected an object");
    EXPECT_EQ(refusal<B2FileListPage>("[]"), "expected an object");
    EXPECT_EQ(refusal<B2FileListPage>("{}"), "files: missing");
    EXPECT_EQ(refusal<B2FileListPage>(R"({"files": null})"), "files: expected a list");
    EXPECT_EQ(
        refusal<B2FileListPage>(R"({"files": [)" + std::string(version) + R"(, {"action": "hide", "fileName": 7}]})"),
        "files[1].fileName: expected a text");
    EXPECT_EQ(refusal<B2FileListPage>(pageOf("null")), "files[0]: expected an object");
    EXPECT_EQ(refusal<B2FileListPage>(pageOf(replaced(version, R"("v")", "null"))),
        "files[0].fileInfo: expected only texts as values");
}

TEST(HostileAnswersTest, NumbersBeyondTheirTypeAreRefused)
{
    const auto lengthOf = [](std::string_view number) {
        return refusal<B2FileVersion>(replaced(version, "1", number));
    };

    for (const auto* number : {"9223372036854775808", "-1e19", "1.5", "1e30", "\"1\"", "true"})
        EXPECT_EQ(lengthOf(number), "contentLength: expected a whole number") << number;
    EXPECT_EQ(lengthOf("99999999999999999999999999"), "the answer holds a damaged number");
    EXPECT_EQ(lengthOf("1e400"), "the answer holds a damaged number");
    EXPECT_EQ(decodeRecord<B2FileVersion>(replaced(version, "1", "9223372036854775807")).contentLength,
        std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(decodeRecord<B2FileVersion>(replaced(version, "1", "5.0e3")).contentLength, 5000);
}

TEST(HostileAnswersTest, DeepNestingIsRefused)
{
    for (const std::size_t depth : {2'000U, 1'000'000U}) {
        const auto lists = std::string(depth, '[') + std::string(depth, ']');
        EXPECT_EQ(refusal<B2FileVersion>(lists), "the answer is nested too deeply");
        EXPECT_EQ(refusal<B2FileVersion>(R"({"unknown": )" + lists + "}"), "the answer is nested too deeply");
    }
}

TEST(HostileAnswersTest, DamagedTextsAreRefused)
{
    const auto named = [](std::string_view text) {
        return replaced(version, "\"a\"", "\"" + std::string(text) + "\"");
    };

    for (const auto* text : {R"(\ud800)", R"(\udc00)", R"(\ud800\ud800)", R"(\udc00\ud800)", R"(\ud800x)", R"(\x)",
             R"(\u12)", "\xff", "\xc3", "\xed\xa0\x80"})
        EXPECT_EQ(refusal<B2FileVersion>(named(text)), "the answer holds a damaged text") << text;
    EXPECT_EQ(decodeRecord<B2FileVersion>(named(R"(\ud83d\ude00\u0000)")).fileName, std::string("\U0001F600\0", 5));
}

TEST(HostileAnswersTest, TheLastOfRepeatedKeysCounts)
{
    const auto twice = decodeRecord<B2FileVersion>(
        R"({"fileName": "a", "fileName": "b", "action": "hide", "fileInfo": {"x": "1", "x": "2"}, "fileInfo": {"y": "3"},
            "legalHold": {"value": "on"}, "legalHold": 5})");

    EXPECT_EQ(twice.fileName, "b");
    EXPECT_THAT(twice.fileInfo, SizeIs(1));
    EXPECT_EQ(twice.legalHold, B2LegalHold::unset);
    EXPECT_EQ(refusal<B2FileVersion>(R"({"fileName": "a", "action": "hide", "fileName": null})"),
        "fileName: expected a text");
}

TEST(HostileAnswersTest, RefusalsRevealNothingOfTheContent)
{
    const std::string secret = "4_0044a1b2c3d4e5f_token";
    for (const auto& json : {R"({"authorizationToken": ")" + secret, R"({"accountId": {")" + secret + R"(": 1}})",
             R"({"apiInfo": ")" + secret + R"("})", secret})
        EXPECT_THAT(refusal<B2Authorization>(json), testing::Not(HasSubstr(secret)));
    const auto longKey = std::string(100'000, 'k');
    EXPECT_LT(refusal<B2FileVersion>(replaced(version, R"("k": "v")", "\"" + longKey + "\": 1")).size(), 100U);
}

TEST(HostileAnswersTest, TheParserIsUsableAfterALargePage)
{
    const auto page = pageOf(version, 20'000);
    ASSERT_GT(page.size(), 1'048'576U);

    EXPECT_THAT(decodeRecord<B2FileListPage>(page).files, SizeIs(20'000));
    EXPECT_NE(refusal<B2FileListPage>(page + "}"), "");
    EXPECT_EQ(decodeRecord<B2FileVersion>(version).fileName, "a");
    EXPECT_EQ(refusal<B2FileVersion>(std::string(64'000'001, ' ')), "the answer is too large");
}
