#pragma once

#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "keychain/Keychain.h"
#include "tests/support/QtRun.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTimer>

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>

/// A real keyring on the private bus of the test, which can be started, locked, stopped and killed.
class KeyringFixture : public testing::Test {
protected:
    static constexpr const char* canary = "K004canaryThatMustBeSeenNowhere1";

    enum class State { unlocked, locked };

    /// A prompt to the user that is never answered.
    class SilentPrompter : public QDBusVirtualObject {
    public:
        SilentPrompter()
        {
            QDBusConnection::sessionBus().registerVirtualObject(QStringLiteral("/org/gnome/keyring/Prompter"), this);
            QDBusConnection::sessionBus().registerService(QStringLiteral("org.gnome.keyring.SystemPrompter"));
        }
        ~SilentPrompter() override
        {
            QDBusConnection::sessionBus().unregisterService(QStringLiteral("org.gnome.keyring.SystemPrompter"));
            QDBusConnection::sessionBus().unregisterObject(QStringLiteral("/org/gnome/keyring/Prompter"));
        }
        QString introspect(const QString&) const override { return {}; }
        bool handleMessage(const QDBusMessage&, const QDBusConnection&) override
        {
            ++questions;
            return true;
        }

        int questions = 0;
    };

    KeyringFixture()
    {
        std::filesystem::remove_all(home() / "data");
        heartbeat_.setInterval(10);
        QObject::connect(&heartbeat_, &QTimer::timeout, [this] {
            const auto now = std::chrono::steady_clock::now();
            longestStall = std::max(longestStall, now - lastBeat_);
            lastBeat_ = now;
        });
        heartbeat_.start();
    }

    ~KeyringFixture() override { killKeyring(); }

    void startKeyring(State state)
    {
        QStringList arguments{QStringLiteral("--foreground"), QStringLiteral("--components=secrets")};
        if (state == State::unlocked)
            arguments << QStringLiteral("--unlock");
        keyring.setStandardOutputFile(QProcess::nullDevice());
        keyring.setStandardErrorFile(QProcess::nullDevice());
        keyring.start(QStringLiteral("gnome-keyring-daemon"), arguments);
        ASSERT_TRUE(keyring.waitForStarted());
        keyring.write("passphrase of the keyring");
        keyring.closeWriteChannel();
        ASSERT_TRUE(spinUntil([] { return isOnBus(); }));
    }

    void killKeyring()
    {
        if (keyring.state() == QProcess::NotRunning)
            return;
        keyring.kill();
        keyring.waitForFinished();
        spinUntil([] { return !isOnBus(); });
    }

    void restartKeyring(State state)
    {
        killKeyring();
        startKeyring(state);
    }

    void signalKeyring(int number) const { ::kill(static_cast<pid_t>(keyring.processId()), number); }

    static bool isOnBus()
    {
        return QDBusConnection::sessionBus().interface()->isServiceRegistered(
            QStringLiteral("org.freedesktop.secrets"));
    }

    static std::filesystem::path home() { return std::getenv("HOME"); }

    /// Lists the files in the home folder, and the system's views of the processes, that contain a text.
    std::vector<std::string> placesOf(const std::string& text) const
    {
        std::vector<std::filesystem::path> places;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(home())) {
            if (entry.is_regular_file())
                places.push_back(entry.path());
        }
        const std::filesystem::path processes("/proc");
        for (const auto& id : {std::string("self"), std::to_string(keyring.processId())}) {
            places.push_back(processes / id / "environ");
            places.push_back(processes / id / "cmdline");
        }
        std::vector<std::string> found;
        for (const auto& place : places) {
            std::ifstream stream(place, std::ios::binary);
            const std::string content{std::istreambuf_iterator<char>(stream), {}};
            if (content.find(text) != std::string::npos)
                found.push_back(place);
        }
        for (const auto& entry : log.entries()) {
            if (entry.formatted().find(text) != std::string::npos)
                found.push_back(entry.formatted());
        }
        return found;
    }

    /// The status that a task fails with; nothing when it succeeds.
    template <class T>
    std::optional<Keychain::Status> statusOf(Task<T> task)
    {
        try {
            qtRun(std::move(task));
        } catch (const Keychain::Failure& failure) {
            sentence = failure.what();
            return failure.status;
        }
        return std::nullopt;
    }

    QProcess keyring;
    Settings settings{home() / "config" / "settings.json"};
    ActivityLog log{settings, home() / "state" / "Logs"};
    std::string sentence; ///< Of the last failure.
    std::chrono::steady_clock::duration longestStall{};

private:
    QTimer heartbeat_;
    std::chrono::steady_clock::time_point lastBeat_ = std::chrono::steady_clock::now();
};
