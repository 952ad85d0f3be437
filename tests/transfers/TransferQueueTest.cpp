#include "tests/support/QtRun.h"
#include "tests/transfers/TransfersFixture.h"

#include <QSignalSpy>

#include <stdexcept>

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Kind = Transfer::Kind;

/// Work that the test ends; a stop ends it too.
class TransferQueueTest : public TransfersFixture {
protected:
    struct Gate {
        std::vector<OneShot<void>> waiting;
        bool isOpen = false;
        int started = 0;

        void open()
        {
            isOpen = true;
            for (const auto& waiter : waiting)
                waiter.set();
        }
    };

    static Task<> waitAtGate(TransferRun run, std::shared_ptr<Gate> gate)
    {
        ++gate->started;
        run.setState(State::running());
        const OneShot<void> opened;
        gate->waiting.push_back(opened);
        if (!gate->isOpen)
            co_await opened.wait();
        run.setState(State::finished());
    }

    std::shared_ptr<Transfer> add(std::string name, std::shared_ptr<Gate> gate, Kind kind = Kind::upload)
    {
        auto transfer = std::make_shared<Transfer>(kind, std::move(name), 1000);
        transfer->localPath = directory / transfer->displayName;
        queue.enqueue(transfer, [gate](TransferRun run) { return waitAtGate(std::move(run), gate); });
        return transfer;
    }

    static bool reaches(const std::shared_ptr<Transfer>& transfer, State state)
    {
        return spinUntil([&] { return *transfer->state == state; }, 5s);
    }

    /// Runs everything that can run.
    static void settle()
    {
        spinUntil([turns = 0]() mutable { return ++turns > 20; });
    }
};

TEST_F(TransferQueueTest, RunsTwoAtATimeInTheirOrder)
{
    std::vector<std::shared_ptr<Gate>> gates;
    std::vector<std::shared_ptr<Transfer>> all;
    for (int i = 0; i < 4; ++i) {
        gates.push_back(std::make_shared<Gate>());
        all.push_back(add("file " + std::to_string(i), gates.back()));
    }
    EXPECT_TRUE(reaches(all[1], State::running()));
    settle();
    EXPECT_EQ(*all[2]->state, State::waiting());
    EXPECT_EQ(queue.activeTransfers().size(), 4U);

    gates[1]->open();

    EXPECT_TRUE(reaches(all[2], State::running()));
    settle();
    EXPECT_EQ(*all[3]->state, State::waiting());
    EXPECT_EQ(lines()[0], "Queued upload of file 0 - 1 KB");
    gates[0]->open();
    EXPECT_TRUE(reaches(all[3], State::running()));
    EXPECT_EQ(gates[3]->started, 1);
    qtRun(queue.stopAll());
}

TEST_F(TransferQueueTest, GivesNoSlotToOneThatWasCancelledWhileItWaited)
{
    const auto gate = std::make_shared<Gate>();
    const auto first = add("1", gate);
    add("2", gate);
    const auto cancelledGate = std::make_shared<Gate>();
    const auto cancelled = add("3", cancelledGate);
    const auto last = add("4", std::make_shared<Gate>());
    EXPECT_TRUE(reaches(first, State::running()));

    queue.cancel(cancelled);
    EXPECT_EQ(*cancelled->state, State::cancelled());
    EXPECT_EQ(lines().back(), "Cancelled 3");
    gate->open();

    EXPECT_TRUE(reaches(last, State::running()));
    EXPECT_EQ(cancelledGate->started, 0);
    qtRun(queue.stopAll());
}

TEST_F(TransferQueueTest, KeepsTheSlotOfACancelledOneUntilItsWorkHasReturned)
{
    OneShot<void> lingering;
    const auto slow = std::make_shared<Transfer>(Kind::download, "slow");
    queue.enqueue(slow, [&](TransferRun run) {
        return [](TransferRun ran, OneShot<void> end) -> Task<> {
            ran.setState(State::running());
            co_await end.wait([] {}); // Ignores the stop.
        }(std::move(run), lingering);
    });
    add("other", std::make_shared<Gate>());
    const auto next = add("next", std::make_shared<Gate>());
    EXPECT_TRUE(reaches(slow, State::running()));

    queue.cancel(slow);
    settle();
    EXPECT_EQ(*slow->state, State::cancelled());
    EXPECT_EQ(*next->state, State::waiting());
    lingering.set();

    EXPECT_TRUE(reaches(next, State::running()));
    qtRun(queue.stopAll());
}

TEST_F(TransferQueueTest, DoesNothingToCancelWhatIsOver)
{
    const auto gate = std::make_shared<Gate>();
    gate->open();
    const auto transfer = add("a", gate);
    EXPECT_TRUE(reaches(transfer, State::finished()));
    const auto before = lines();
    const QSignalSpy ends(&queue, &TransferQueue::uploadEnded);

    queue.cancel(transfer);
    queue.retry(transfer);

    EXPECT_EQ(*transfer->state, State::finished());
    EXPECT_EQ(lines(), before);
    EXPECT_EQ(ends.count(), 0);
}

TEST_F(TransferQueueTest, RetriesInTheSameRowAHundredTimes)
{
    const auto transfer = add("a", std::make_shared<Gate>());
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(i % 2 == 0 || reaches(transfer, State::running()));
        queue.cancel(transfer);
        queue.retry(transfer);
    }
    const auto gate = std::make_shared<Gate>();
    const auto other = add("b", gate);

    EXPECT_TRUE(reaches(other, State::running())) << "all slots but one came back";
    EXPECT_TRUE(reaches(transfer, State::running()));
    EXPECT_EQ(queue.transfers->size(), 2U);
    qtRun(queue.stopAll());
    EXPECT_EQ(*transfer->state, State::cancelled());
}

TEST_F(TransferQueueTest, StartsARetryWhenTheCancelledAttemptHasReturnedAndIgnoresItsOutcome)
{
    std::vector<OneShot<void>> attempts;
    const auto transfer = std::make_shared<Transfer>(Kind::download, "a");
    queue.enqueue(transfer, [&attempts](TransferRun run) {
        attempts.emplace_back();
        return [](TransferRun ran, OneShot<void> end) -> Task<> {
            ran.setState(State::running());
            co_await end.wait([] {}); // Ignores the stop.
            ran.setState(State::failed("old news"));
        }(std::move(run), attempts.back());
    });
    EXPECT_TRUE(reaches(transfer, State::running()));

    queue.cancel(transfer);
    queue.retry(transfer);
    settle();
    EXPECT_EQ(attempts.size(), 1U);
    EXPECT_EQ(*transfer->state, State::waiting());
    attempts[0].set();

    EXPECT_TRUE(reaches(transfer, State::running()));
    EXPECT_EQ(attempts.size(), 2U);
    attempts[1].set();
    EXPECT_TRUE(reaches(transfer, State::failed("old news")));
}

TEST_F(TransferQueueTest, TurnsWhatWorkThrowsIntoItsFailureAndGoesOn)
{
    const auto failing = std::make_shared<Transfer>(Kind::upload, "bad");
    QSignalSpy ends(&queue, &TransferQueue::uploadEnded);
    queue.enqueue(failing, [](TransferRun) -> Task<> {
        throw std::runtime_error("The disk is on fire.");
        co_return;
    });
    const auto next = add("next", std::make_shared<Gate>());

    EXPECT_TRUE(reaches(failing, State::failed("The disk is on fire.")));
    EXPECT_TRUE(reaches(next, State::running()));
    EXPECT_TRUE(spinUntil([&] { return ends.count() == 1; }));
    EXPECT_FALSE(ends[0][1].toBool());
    EXPECT_FALSE(queue.canRetry(*failing)) << "its source is not known";
    qtRun(queue.stopAll());
}

TEST_F(TransferQueueTest, ClearsWhatIsOverAndKeepsTheRest)
{
    const auto running = add("1", std::make_shared<Gate>());
    const auto cancelled = add("2", std::make_shared<Gate>());
    const auto waiting = add("3", std::make_shared<Gate>());
    EXPECT_TRUE(reaches(cancelled, State::running()));
    queue.cancel(cancelled);

    queue.clearFinished();

    EXPECT_THAT(*queue.transfers, ElementsAre(running, waiting));
    EXPECT_FALSE(queue.canRetry(*cancelled));
    running->resumableFileID = "large-1";
    cancelled->resumableFileID = "large-2";
    EXPECT_THAT(queue.inFlightFileIDs(), ElementsAre("large-1"));
    qtRun(queue.stopAll());
}

TEST_F(TransferQueueTest, RefusesWhatCannotGoAndKeepsTheReasonToShow)
{
    queue.download({.fileName = "photos/a.jpg", .action = B2FileAction("hide")}, {}, nullptr);
    queue.upload({directory / "gone", "/"}, {}, "", nullptr);

    EXPECT_TRUE(spinUntil([&] { return queue.refusals->size() == 3; }));
    EXPECT_THAT(*queue.transfers, IsEmpty());
    EXPECT_EQ(queue.refusals->at(0), "\"photos/a.jpg\" is a hide marker, which has no content. Nothing was saved.");
    EXPECT_THAT(lines(), Contains("Upload of gone refused"));
    queue.dismissRefusals();
    EXPECT_THAT(*queue.refusals, IsEmpty());
}

TEST_F(TransferQueueTest, SkipsTheChecksumOfTheChildThatIsReadAndOfAllToCome)
{
    const auto folder = std::make_shared<Transfer>(Transfer::Kind::upload, "photos/");
    queue.skipChecksum(folder);
    EXPECT_FALSE(folder->skipChecksum->isRaised());

    const auto child = std::make_shared<Transfer>(Transfer::Kind::upload, "photos/a.raw");
    child->isHashing = true;
    folder->state = Transfer::State::running();
    folder->activeChild = child;
    queue.skipChecksum(folder);
    EXPECT_TRUE(folder->skipChecksum->isRaised());
    EXPECT_TRUE(*child->checksumSkipped);
    EXPECT_EQ(lines().back(), "Skipped checksums for photos/ and everything left in it");
}

} // namespace
