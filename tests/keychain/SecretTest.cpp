#include "B2Kit/B2Credentials.h"

#include <gmock/gmock.h>

#include <sstream>

TEST(SecretTest, ShowsItsTextOnlyWhenAskedTo)
{
    const Secret secret("K004abc");
    std::ostringstream stream;
    stream << secret;
    EXPECT_EQ(stream.str(), "<redacted>");
    EXPECT_EQ(testing::PrintToString(secret), "<redacted>");
    EXPECT_EQ(secret.reveal(), "K004abc");
}

TEST(SecretTest, TakesATextOverAndLeavesNothingBehind)
{
    std::string text = "K004abc";
    const char* const place = text.data(); // Short enough to be stored in the object itself.
    Secret secret(std::move(text));
    EXPECT_EQ(std::string_view(place, 7).find("K004"), std::string_view::npos);

    const Secret moved = std::move(secret);
    EXPECT_TRUE(secret.empty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(moved, Secret("K004abc"));
    EXPECT_FALSE(moved == Secret("K004abd"));
    EXPECT_FALSE(moved == Secret("K004ab"));
    EXPECT_EQ(Secret(" \tK004abc\r\n").trimmed(), moved);
    EXPECT_TRUE(Secret(" \n").trimmed().empty());
}
