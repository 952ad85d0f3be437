#include "foundation/views/style/DesktopPreferences.h"

#include "tests/foundation/views/Scene.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>
#include <QStandardPaths>

/// Stands in for the settings portal of the desktop.
class SettingsPortal final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit SettingsPortal(QObject* host)
        : QDBusAbstractAdaptor(host)
    {
    }

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key)
    {
        const bool isScheme = group == text("org.freedesktop.appearance") && key == text("color-scheme");
        // Wrapped twice, as the portal does.
        return QDBusVariant(QVariant::fromValue(QDBusVariant(isScheme ? QVariant(1U) : QVariant(true))));
    }
};

namespace {

TEST(DesktopPreferencesTest, SaysNothingWithoutABus)
{
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!before.isEmpty()) {
        GTEST_SKIP() << "a session bus runs";
    }
    const DesktopPreferences preferences;

    EXPECT_EQ(preferences.colorScheme(), ColorScheme::system);
    EXPECT_TRUE(preferences.wantsAnimations());
}

TEST(DesktopPreferencesTest, FollowsThePortalWhileRunning)
{
    if (QStandardPaths::findExecutable(text("dbus-daemon")).isEmpty()) {
        GTEST_SKIP() << "dbus-daemon is not installed";
    }
    QProcess bus;
    bus.start(text("dbus-daemon"), {text("--session"), text("--nofork"), text("--print-address")});
    ASSERT_TRUE(bus.waitForReadyRead(5000));
    const QString address = QString::fromUtf8(bus.readLine()).trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
    auto connection = QDBusConnection::connectToBus(address, text("portal"));
    QObject host;
    new SettingsPortal(&host);
    ASSERT_TRUE(connection.registerObject(text("/org/freedesktop/portal/desktop"), &host));
    ASSERT_TRUE(connection.registerService(text("org.freedesktop.portal.Desktop")));

    const auto tell = [&connection](const char* group, const char* key, const QVariant& value) {
        auto signal = QDBusMessage::createSignal(
            text("/org/freedesktop/portal/desktop"), text("org.freedesktop.portal.Settings"), text("SettingChanged"));
        signal << text(group) << text(key) << QVariant::fromValue(QDBusVariant(value));
        connection.send(signal);
    };

    DesktopPreferences preferences;
    EXPECT_TRUE(QTest::qWaitFor([&] { return preferences.colorScheme() == ColorScheme::dark; }, 5000));

    tell("org.freedesktop.appearance", "color-scheme", 2U);
    EXPECT_TRUE(QTest::qWaitFor([&] { return preferences.colorScheme() == ColorScheme::light; }, 5000));
    tell("org.gnome.desktop.interface", "enable-animations", false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !preferences.wantsAnimations(); }, 5000));
    tell("org.freedesktop.appearance", "color-scheme", text("?"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return preferences.colorScheme() == ColorScheme::system; }, 5000));

    QDBusConnection::disconnectFromBus(text("portal"));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    bus.kill();
    bus.waitForFinished(5000);
}

} // namespace

#include "DesktopPreferencesTest.moc"
