#include "foundation/runs/BytesFate.h"

#include <gtest/gtest.h>

namespace {

constexpr auto up = BytesOperation::upload;
constexpr auto down = BytesOperation::download;

TEST(BytesFateTest, NamesWhatHasBecomeOfTheBytes)
{
    EXPECT_EQ(fateText(up, BytesFate::nothing()), "Nothing was stored.");
    EXPECT_EQ(fateText(down, BytesFate::nothing()), "Nothing was saved.");
    EXPECT_EQ(fateText(up, BytesFate::maybe()), "It may have been stored all the same.");
    EXPECT_EQ(fateText(up, BytesFate::parts()), "The parts already sent stay stored and billed.");
    EXPECT_EQ(fateText(up, BytesFate::whole()), "B2 holds it as it was when it was read.");
    EXPECT_EQ(fateText(down, BytesFate::files(1, 5)), "1 of 5 files was saved.");
    EXPECT_EQ(fateText(up, BytesFate::files(1, 1)), "1 of 1 file was stored.");
    EXPECT_EQ(fateText(up, BytesFate::files(1234)), "1,234 files were stored.");
    EXPECT_EQ(fateText(down, BytesFate::files(0, 5)), "Nothing was saved.") << "no count of none";
}

TEST(BytesFateTest, PutsCauseFateAndAdviceTogether)
{
    EXPECT_EQ(failureText(up, {"“a” changed.", BytesFate::whole(), "Upload it again."}),
        "“a” changed. B2 holds it as it was when it was read. Upload it again.");
    EXPECT_EQ(failureText(down, {"The connection was lost", BytesFate::nothing(), {}}),
        "The connection was lost. Nothing was saved.");
}

TEST(BytesFateTest, LeavesAMessageOfTheServiceAloneUnlessMoreIsStoredThanItSays)
{
    BytesFailure refusal{"B2 400 bad_request: refused", BytesFate::nothing(), {}, true};
    EXPECT_EQ(failureText(up, refusal), refusal.cause);
    refusal.fate = BytesFate::parts();
    EXPECT_EQ(failureText(up, refusal), refusal.cause);
    refusal.fate = BytesFate::maybe();
    EXPECT_EQ(failureText(up, refusal), "B2 400 bad_request: refused. It may have been stored all the same.");
}

} // namespace
