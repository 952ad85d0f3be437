#include "foundation/runs/ItemRun.h"
#include "foundation/runs/Question.h"
#include "tests/support/RunItems.h"

#include <gmock/gmock.h>

#include <QSignalSpy>

#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Phase = ItemRun::Phase;
using Reason = std::optional<std::string>;

/// Items whose end the test decides.
class ItemRunTest : public testing::Test {
protected:
    struct Work {
        OneShot<Reason> end;
        bool hasBegun = false;
        bool wasAskedToStop = false;
    };

    std::unique_ptr<ItemRun> makeRun(int count, int atOnce = 1, ItemRun::UponStop uponStop = ItemRun::UponStop::cancel)
    {
        auto run = [](std::shared_ptr<Work> work) -> Task<Reason> {
            work->hasBegun = true;
            co_return co_await work->end.wait([work] {
                work->wasAskedToStop = true;
                work->end.fail(std::make_exception_ptr(Cancelled{}));
            });
        };
        std::vector<ItemRun::Item> items;
        for (int i = 0; i < count; ++i) {
            works.push_back(std::make_shared<Work>());
            items.push_back({std::string(1, static_cast<char>('a' + i)),
                [run, work = works.back()] { return run(work); }, uponStop});
        }
        return std::make_unique<ItemRun>(std::move(items), atOnce);
    }

    int begun() const
    {
        return static_cast<int>(std::ranges::count_if(works, [](const auto& work) { return work->hasBegun; }));
    }
    bool waitFor(int count) const
    {
        return spinUntil([&] { return begun() == count; });
    }

    std::vector<std::shared_ptr<Work>> works;
    const RunWords words{"key", "keys", "deleted"};
};

} // namespace

TEST_F(ItemRunTest, RunsItemsOneAfterAnotherAndGoesOnAfterAFailure)
{
    const auto run = makeRun(3);
    run->start();
    run->start();
    ASSERT_TRUE(waitFor(1));
    EXPECT_EQ(*run->current, "a");
    works[0]->end.fail(std::make_exception_ptr(std::runtime_error("It is broken.")));
    ASSERT_TRUE(waitFor(2));
    works[1]->end.set(std::nullopt);
    ASSERT_TRUE(waitFor(3));
    works[2]->end.set("It is in use.");
    ASSERT_TRUE(spinUntil([&] { return run->hasEnded(); }));

    EXPECT_EQ(*run->phase, Phase::failed);
    EXPECT_EQ(run->summary->done, 1);
    EXPECT_THAT(run->summary->failures,
        ElementsAre(ItemRun::Failure{"a", "It is broken."}, ItemRun::Failure{"c", "It is in use."}));
    EXPECT_EQ(runResultText(*run->summary, words), "1 of 3 keys was deleted. 2 could not be deleted.");
    EXPECT_EQ(failureLines(*run->summary), "a: It is broken.\nc: It is in use.\n");
}

TEST_F(ItemRunTest, AStopCancelsTheItemUnderWayAndBeginsNoOther)
{
    const auto run = makeRun(4, 2);
    int ends = 0;
    run->onEnd = [&](const ItemRun::Summary&) { ++ends; };
    run->start();
    ASSERT_TRUE(waitFor(2));
    works[0]->end.set(std::nullopt);
    ASSERT_TRUE(waitFor(3));

    run->stop();
    run->stop();
    EXPECT_EQ(*run->phase, Phase::stopping);
    ASSERT_TRUE(spinUntil([&] { return run->hasEnded(); }));

    EXPECT_EQ(*run->phase, Phase::stopped);
    EXPECT_EQ(begun(), 3);
    EXPECT_EQ(run->summary->done, 1);
    EXPECT_THAT(run->summary->interrupted, ElementsAre("b", "c"));
    EXPECT_EQ(run->summary->untried(), 1);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(runResultText(*run->summary, words),
        "Stopped. 1 of 4 keys was deleted. Whether 2 more were deleted is not known.");

    const auto told = *run->summary;
    run->start();
    run->stop();
    QCoreApplication::processEvents();
    EXPECT_EQ(*run->summary, told);
    EXPECT_EQ(ends, 1);
}

TEST_F(ItemRunTest, AStopRightAfterTheStartTriesNothing)
{
    const auto run = makeRun(2);
    run->start();
    run->stop();
    ASSERT_TRUE(spinUntil([&] { return run->hasEnded(); }));
    EXPECT_EQ(*run->phase, Phase::stopped);
    EXPECT_EQ(begun(), 0);
    EXPECT_EQ(run->summary->untried(), 2);
    EXPECT_EQ(runResultText(*run->summary, words), "Stopped. No key was deleted.");
}

TEST_F(ItemRunTest, AnItemThatMustNotBeCancelledEndsBeforeTheStoppedRunDoes)
{
    const auto run = makeRun(2, 1, ItemRun::UponStop::letEnd);
    run->start();
    ASSERT_TRUE(waitFor(1));
    run->stop();
    QCoreApplication::processEvents();
    EXPECT_EQ(*run->phase, Phase::stopping);
    EXPECT_FALSE(works[0]->wasAskedToStop);

    works[0]->end.set("It is in use.");
    ASSERT_TRUE(spinUntil([&] { return run->hasEnded(); }));

    EXPECT_EQ(*run->phase, Phase::stopped);
    EXPECT_EQ(
        runResultText(*run->summary, words), "Stopped. No key was deleted. “a” could not be deleted. It is in use.");
}

TEST_F(ItemRunTest, ARunThatIsGoneHearsNothingOfItsItems)
{
    auto run = makeRun(2, 2, ItemRun::UponStop::letEnd);
    run->onEnd = [](const ItemRun::Summary&) { FAIL() << "it is gone"; };
    run->start();
    ASSERT_TRUE(waitFor(2));
    run.reset();
    works[0]->end.set(std::nullopt);
    works[1]->end.fail(std::make_exception_ptr(std::runtime_error("late")));
    EXPECT_TRUE(spinUntil([&] { return works[0].use_count() == 1 && works[1].use_count() == 1; }))
        << "the items let go of what they hold";

    const auto empty = makeRun(0);
    EXPECT_THAT(runItems(*empty).failures, IsEmpty());
    EXPECT_EQ(*empty->phase, Phase::finished);
}

TEST(QuestionTest, TheTypedNameMustBeExactlyTheSame)
{
    Question question{.title = "Delete?", .typedName = "Photos 2026"};
    EXPECT_EQ(verbRefusal(question, ""), "Type “Photos 2026” to confirm.");
    for (const auto* const typed : {"photos 2026", "Photos 2026 ", "Photos  2026", "Photos 202"})
        EXPECT_EQ(verbRefusal(question, typed), "The text is not exactly “Photos 2026”.") << typed;
    EXPECT_EQ(verbRefusal(question, "Photos 2026"), std::nullopt);

    question.refusal = "This key cannot delete buckets.";
    EXPECT_EQ(verbRefusal(question, "Photos 2026"), question.refusal);
    EXPECT_EQ(verbRefusal(Question{.title = "Quit?"}, ""), std::nullopt);
}
