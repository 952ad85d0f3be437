#include "shell/SingleInstance.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QDBusConnectionInterface>
#include <QProcess>
#include <QSignalSpy>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

using Role = SingleInstance::Role;

const QString programName = QStringLiteral("com.zantro.kestrovan");

QDBusConnection connectAs(const char* name)
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QString::fromLatin1(name));
}

bool isNameOwned()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(programName);
}

/// A start as of another process: its calls wait, while the first program's loop turns here.
Role startElsewhere(const QString& token, std::chrono::milliseconds limit = 10s)
{
    std::atomic<bool> hasEnded = false;
    Role role{};
    std::thread thread([&] {
        SingleInstance other(connectAs("elsewhere"));
        role = other.claim(token, limit);
        other.release();
        QDBusConnection::disconnectFromBus(QStringLiteral("elsewhere"));
        hasEnded = true;
    });
    EXPECT_TRUE(spinUntil([&] { return hasEnded.load(); }));
    thread.join();
    return role;
}

} // namespace

TEST(SingleInstanceTest, ALaterStartRaisesTheWindowOfTheFirst)
{
    SingleInstance first(connectAs("first"));
    const QSignalSpy told(&first, &SingleInstance::activated);
    ASSERT_EQ(first.claim({}), Role::first);

    EXPECT_EQ(startElsewhere(QStringLiteral("a token")), Role::second);
    EXPECT_EQ(startElsewhere({}), Role::second);

    ASSERT_EQ(told.count(), 2);
    EXPECT_EQ(told.at(0).front().toString(), QStringLiteral("a token"));
    EXPECT_EQ(told.at(1).front().toString(), QString());

    first.release();
    EXPECT_EQ(startElsewhere({}), Role::first);
    EXPECT_EQ(told.count(), 2);
    QDBusConnection::disconnectFromBus(QStringLiteral("first"));
}

TEST(SingleInstanceTest, IsAloneWithoutABusAndReportsAFirstThatDoesNotAnswer)
{
    SingleInstance alone{QDBusConnection(QStringLiteral("no such connection"))};
    EXPECT_EQ(alone.claim({}), Role::alone);
    alone.release();

    // It owns the name, and its loop does not turn.
    SingleInstance hanging(connectAs("hanging"));
    ASSERT_EQ(hanging.claim({}), Role::first);
    SingleInstance second(connectAs("second"));
    EXPECT_EQ(second.claim({}, 100ms), Role::unanswered);

    hanging.release();
    EXPECT_EQ(second.claim({}), Role::first);
    second.release();
    ASSERT_TRUE(spinUntil([] { return !isNameOwned(); }));
}

TEST(SingleInstanceTest, TheProgramStartedTwiceRunsOnce)
{
    const auto start = [](QProcess& program, const QStringList& arguments) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(KESTROVAN_PROGRAM), arguments);
    };
    const auto hasEnded = [](const QProcess& program) { return program.state() == QProcess::NotRunning; };
    QProcess first;
    start(first, {});
    ASSERT_TRUE(spinUntil([] { return isNameOwned(); }));

    const auto joins = [&] {
        QProcess second;
        start(second, {});
        EXPECT_TRUE(spinUntil([&] { return hasEnded(second); }));
        EXPECT_EQ(second.readAllStandardOutput().count('\n'), 1);
        return second.exitCode() == 0;
    };
    EXPECT_TRUE(joins());
    EXPECT_FALSE(hasEnded(first));

    // A demonstration has nothing to do with it.
    QProcess demonstration;
    start(demonstration, {QStringLiteral("--demo")});
    ASSERT_TRUE(spinUntil([&] { return demonstration.state() == QProcess::Running; }));
    EXPECT_FALSE(demonstration.waitForFinished(1000));
    demonstration.kill();
    demonstration.waitForFinished();

    // One that was killed leaves nothing behind that keeps the next from starting.
    first.kill();
    ASSERT_TRUE(spinUntil([&] { return hasEnded(first) && !isNameOwned(); }));
    QProcess third;
    start(third, {});
    ASSERT_TRUE(spinUntil([] { return isNameOwned(); }));
    ASSERT_TRUE(joins()) << "its loop turns now";
    third.terminate();
    ASSERT_TRUE(spinUntil([&] { return hasEnded(third); }));
    EXPECT_EQ(third.exitCode(), 0);
    EXPECT_FALSE(isNameOwned());
}
