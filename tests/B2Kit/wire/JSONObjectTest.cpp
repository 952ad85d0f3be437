#include "B2Kit/wire/JSONObject.h"

#include <gmock/gmock.h>

namespace {

std::string quoted(std::string_view text)
{
    std::string json;
    appendJSONText(json, text);
    return json;
}

} // namespace

TEST(JSONObjectTest, WritesTheFieldsInTheirOrder)
{
    JSONObject object;
    object.set("text", "a")
        .set("yes", true)
        .set("count", 3)
        .set("bytes", std::int64_t{9'007'199'254'740'993})
        .set("list", std::vector<std::string>{"a", "b"})
        .set("none", std::vector<std::string>{})
        .set("map", std::map<std::string, std::string>{{"k", "v"}})
        .setRaw("raw", R"({"x":1})")
        .setNull("null")
        .setIfPresent("absent", std::optional<std::string>())
        .setIfPresent("present", std::optional(7));

    EXPECT_EQ(std::move(object).text(),
        R"({"text":"a","yes":true,"count":3,"bytes":9007199254740993,"list":["a","b"],"none":[],"map":{"k":"v"},)"
        R"("raw":{"x":1},"null":null,"present":7})");
    EXPECT_EQ(JSONObject().text(), "{}");
}

TEST(JSONObjectTest, EscapesOnlyWhatJSONMust)
{
    EXPECT_EQ(quoted("a\"b\\c/d"), R"("a\"b\\c/d")");
    EXPECT_EQ(quoted(std::string_view("\0\n\r\t\x1f\x7f", 6)), R"("\u0000\n\r\t\u001f\u007f")");
    EXPECT_EQ(quoted("é 中 😀"), "\"é 中 😀\"");
}

TEST(JSONObjectTest, ReplacesBytesThatAreNoUTF8)
{
    EXPECT_EQ(quoted("a\xff z"), "\"a\uFFFD z\"");
    EXPECT_EQ(quoted("\xc3"), "\"\uFFFD\"") << "cut short";
    EXPECT_EQ(quoted("\xc0\xaf"), "\"\uFFFD\uFFFD\"") << "longer than it must be";
    EXPECT_EQ(quoted("\xed\xa0\x80"), "\"\uFFFD\uFFFD\uFFFD\"") << "a surrogate";
    EXPECT_EQ(quoted("\xf4\x90\x80\x80"), "\"\uFFFD\uFFFD\uFFFD\uFFFD\"") << "beyond the last character";
}
