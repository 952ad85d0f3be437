#include "accounts/KeySheetTexts.h"

#include "accounts/ExpiryNotice.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;

TEST(KeySheetTextsTest, TheQuestionAboutRevokedKeysNamesThemAndCounts)
{
    const std::vector<StoredKey> two{{"1", "Old laptop", "a"}, {"2", "Printer", "a"}};

    const auto question = removeRevokedQuestion(two, false);
    EXPECT_EQ(question.title, "Remove 2 keys Backblaze no longer has?");
    EXPECT_THAT(question.text, testing::StartsWith("“Old laptop” and “Printer”. These were revoked at Backblaze"));
    EXPECT_THAT(removeRevokedQuestion(two, true).text, HasSubstr("“Printer”, on every computer that syncs keys. "));
    EXPECT_EQ(removeRevokedQuestion({two.front()}, false).title, "Remove 1 key Backblaze no longer has?");
}

TEST(KeySheetTextsTest, SaysWhichKeysWereKeptAndWhy)
{
    RevokedKeysOutcome outcome{.removed = {{"1", "Old laptop", "a"}}, .kept = {}};
    EXPECT_FALSE(retainedKeysText(outcome));

    outcome.kept.push_back({{"2", "Printer", "a"}, "“Printer” still signs in, so it was kept."});
    EXPECT_EQ(retainedKeysText(outcome), "1 key was removed. “Printer” still signs in, so it was kept.");
}

TEST(KeySheetTextsTest, OnlyTheKeyInUseIsSaidToDisconnect)
{
    const StoredKey key{"1", "Office", "a"};
    EXPECT_THAT(removeKeyQuestion(key, true).text, HasSubstr("transfers that are running go on"));
    EXPECT_THAT(removeKeyQuestion(key, false).text, Not(HasSubstr("disconnect")));
}

TEST(ExpiryNoticeTest, SpeaksWithinAWeekOfTheEnd)
{
    using namespace std::chrono_literals;
    const auto now = std::chrono::system_clock::now();
    const auto ending = [&](std::chrono::seconds in) {
        return B2Authorization{
            .applicationKeyExpirationTimestamp =
                std::chrono::duration_cast<std::chrono::milliseconds>((now + in).time_since_epoch()).count()};
    };
    EXPECT_FALSE(expiryNotice("Office", {}, now));
    EXPECT_FALSE(expiryNotice("Office", ending(8 * 24h), now));
    EXPECT_THAT(expiryNotice("Office", ending(24h), now).value_or(""), HasSubstr("The key “Office” stops working on"));
    EXPECT_THAT(expiryNotice("Office", ending(-1s), now).value_or(""), HasSubstr("The key “Office” expired on"));
}
