#include "foundation/views/style/DesktopPreferences.h"

#include "foundation/SessionBus.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString schemeKey = QStringLiteral("color-scheme");
const QString gnomeInterface = QStringLiteral("org.gnome.desktop.interface");
const QString animationsKey = QStringLiteral("enable-animations");
const QString plasmaGroup = QStringLiteral("org.kde.kdeglobals.KDE");
const QString plasmaDurationKey = QStringLiteral("AnimationDurationFactor");

// The portal's `Read` wraps its answer in one more variant than its signal does.
QVariant unwrapped(QVariant value)
{
    while (value.canConvert<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace

DesktopPreferences::DesktopPreferences(QObject* parent)
    : QObject(parent)
{
    if (!hasSessionBus()) {
        return;
    }
    // The slot takes the whole message, because Qt refuses one whose types it has not met on the bus yet. No service is
    // named, because the subscription would then wait for the owner of the name.
    QDBusConnection::sessionBus().connect(QString(), portalPath, settingsInterface, QStringLiteral("SettingChanged"),
        this, SLOT(settingChanged(QDBusMessage)));
    read(appearance, schemeKey);
    read(gnomeInterface, animationsKey);
    read(plasmaGroup, plasmaDurationKey);
}

void DesktopPreferences::settingChanged(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() == 3) {
        take(arguments.at(0).toString(), arguments.at(1).toString(), unwrapped(arguments.at(2)));
    }
}

void DesktopPreferences::read(const QString& group, const QString& key)
{
    auto message = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    message << group << key;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, group, key](QDBusPendingCallWatcher* call) {
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError()) {
            take(group, key, unwrapped(QVariant::fromValue(reply.value())));
        }
        call->deleteLater();
    });
}

void DesktopPreferences::take(const QString& group, const QString& key, const QVariant& value)
{
    if (group == appearance && key == schemeKey) {
        constexpr unsigned prefersDark = 1;
        constexpr unsigned prefersLight = 2;
        const unsigned said = value.toUInt();
        colorScheme_ = said == prefersDark ? ColorScheme::dark
            : said == prefersLight         ? ColorScheme::light
                                           : ColorScheme::system;
    } else if (group == gnomeInterface && key == animationsKey) {
        wantsAnimations_ = value.toBool();
    } else if (group == plasmaGroup && key == plasmaDurationKey) {
        bool isNumber = false;
        const double factor = value.toDouble(&isNumber);
        wantsAnimations_ = !isNumber || factor > 0;
    } else {
        return;
    }
    Q_EMIT changed();
}
