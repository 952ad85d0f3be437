#include "transfers/SleepInhibitor.h"
#include "tests/support/QtRun.h"
#include "tests/transfers/TransfersFixture.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QProcess>

#include <atomic>
#include <mutex>
#include <sys/select.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

/// A queue whose one transfer runs until the test ends it.
class SleepInhibitorTest : public TransfersFixture {
protected:
    OneShot<void> start()
    {
        const OneShot<void> end;
        auto work = [](TransferRun run, OneShot<void> ended) -> Task<> {
            run.setState(Transfer::State::running());
            co_await ended.wait();
            run.setState(Transfer::State::finished());
        };
        queue.enqueue(std::make_shared<Transfer>(Transfer::Kind::upload, "a.bin", 1000),
            [work, end](TransferRun run) { return work(std::move(run), end); });
        return end;
    }

    /// Shared, because a lock may be released on a thread that outlives the test.
    struct Count {
        std::atomic<int> asked = 0;
        std::atomic<int> held = 0;
    };

    const std::shared_ptr<Count> count = std::make_shared<Count>();
    const std::atomic<int>& asked = count->asked;
    const std::atomic<int>& held = count->held;
    const std::function<SleepLock()> counting = [count = count] {
        ++count->asked;
        ++count->held;
        return SleepLock(count.get(), [count](const void*) { --count->held; });
    };
};

TEST_F(SleepInhibitorTest, HoldsOneLockAcrossConsecutiveTransfers)
{
    const SleepInhibitor inhibitor(queue, counting, 300ms);
    EXPECT_EQ(asked, 0);
    for (int i = 0; i < 3; ++i) {
        const auto end = start();
        ASSERT_TRUE(spinUntil([&] { return inhibitor.isHolding(); }));
        end.set();
        ASSERT_TRUE(spinUntil([&] { return !queue.isRunning(); }));
        EXPECT_EQ(held, 1);
    }
    EXPECT_EQ(asked, 1);

    EXPECT_TRUE(spinUntil([&] { return held == 0; }, 5s));
    start();
    EXPECT_TRUE(spinUntil([&] { return asked == 2 && held == 1; }));
}

TEST_F(SleepInhibitorTest, DoesNotWaitForABusThatDoesNotAnswer)
{
    std::mutex hanging;
    hanging.lock();
    {
        const SleepInhibitor inhibitor(
            queue,
            [&hanging, counting = counting] {
                const std::lock_guard wait(hanging);
                return counting();
            },
            1ms);
        const auto end = start();
        ASSERT_TRUE(spinUntil([&] { return queue.isRunning(); }));
        end.set();
        ASSERT_TRUE(spinUntil([&] { return !queue.isRunning(); }));
        spinUntil([turns = 0]() mutable { return ++turns > 5; });
        hanging.unlock();
        // A lock that comes too late is released.
        EXPECT_TRUE(spinUntil([&] { return asked == 1 && held == 0; }));
        EXPECT_FALSE(inhibitor.isHolding());
    }
}

/// A stand-in for logind on a private bus.
class LoginManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    LoginManager() { EXPECT_EQ(::pipe(ends_), 0); }
    ~LoginManager() override
    {
        ::close(ends_[0]);
        if (ends_[1] >= 0)
            ::close(ends_[1]);
    }

    /// Have all holders closed the lock?
    bool isReleased()
    {
        if (ends_[1] >= 0)
            ::close(std::exchange(ends_[1], -1));
        fd_set set;
        FD_ZERO(&set);
        FD_SET(ends_[0], &set);
        timeval now{};
        return ::select(ends_[0] + 1, &set, nullptr, nullptr, &now) == 1;
    }

    QStringList calls;

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why, const QString& mode)
    {
        calls << what << who << why << mode;
        return QDBusUnixFileDescriptor(ends_[1]);
    }

private:
    int ends_[2];
};

TEST(SleepLockTest, IsTakenFromLogindAndGivenBack)
{
    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
        {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
    if (!bus.waitForStarted())
        GTEST_SKIP() << "There is no dbus-daemon here.";
    ASSERT_TRUE(bus.waitForReadyRead());
    const QByteArray address = bus.readLine().trimmed();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    EXPECT_EQ(takeSleepLock(), nullptr) << "there is no logind";

    auto connection = QDBusConnection::connectToBus(QString::fromLatin1(address), QStringLiteral("logind"));
    LoginManager manager;
    ASSERT_TRUE(connection.registerObject(
        QStringLiteral("/org/freedesktop/login1"), &manager, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(connection.registerService(QStringLiteral("org.freedesktop.login1")));
    SleepLock lock;
    std::atomic<bool> hasEnded = false;
    std::thread taking([&] {
        lock = takeSleepLock();
        hasEnded = true;
    });
    EXPECT_TRUE(spinUntil([&] { return hasEnded.load(); }));
    taking.join();

    ASSERT_TRUE(lock);
    EXPECT_EQ(manager.calls,
        QStringList({QStringLiteral("sleep"), QStringLiteral("Kestrovan"),
            QStringLiteral("Files are being transferred"), QStringLiteral("block")}));
    EXPECT_FALSE(manager.isReleased());
    lock.reset();
    EXPECT_TRUE(spinUntil([&] { return manager.isReleased(); }));

    QDBusConnection::disconnectFromBus(QStringLiteral("logind"));
    bus.terminate();
    bus.waitForFinished();
    EXPECT_EQ(takeSleepLock(), nullptr) << "the bus is gone";
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

} // namespace

#include "SleepInhibitorTest.moc"
