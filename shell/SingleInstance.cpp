#include "shell/SingleInstance.h"

#include "foundation/SessionBus.h"

#include <QDBusMessage>
#include <QDBusReply>

#include <utility>

namespace {

const QString ownName = QStringLiteral("com.zantro.kestrovan");
const QString ownPath = QStringLiteral("/com/zantro/kestrovan");
const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString tokenKey = QStringLiteral("activation-token");
const QString startupIDKey = QStringLiteral("desktop-startup-id");

QDBusMessage call(const QDBusConnection& bus, QDBusMessage message, std::chrono::milliseconds limit)
{
    message.setAutoStartService(false);
    return bus.call(message, QDBus::Block, static_cast<int>(limit.count()));
}

/// The bus's answer: 1 for a new owner, 4 for the same owner as before, 3 when another owns the name.
QDBusReply<uint> requestName(const QDBusConnection& bus, std::chrono::milliseconds limit)
{
    constexpr uint doNotQueue = 4;
    auto message = QDBusMessage::createMethodCall(busName, busPath, busName, QStringLiteral("RequestName"));
    message << ownName << doNotQueue;
    return call(bus, std::move(message), limit);
}

QDBusMessage requestActivation(const QDBusConnection& bus, const QString& token, std::chrono::milliseconds limit)
{
    QVariantMap platformData;
    if (!token.isEmpty())
        platformData = {{tokenKey, token}, {startupIDKey, token}};
    auto message = QDBusMessage::createMethodCall(
        ownName, ownPath, QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"));
    message << platformData;
    return call(bus, std::move(message), limit);
}

} // namespace

SingleInstance::SingleInstance(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , bus_(std::move(bus))
{
}

SingleInstance::Role SingleInstance::claim(const QString& token, std::chrono::milliseconds limit)
{
    if (!bus_.isConnected())
        return Role::alone;
    // Before the name is owned: a request must never find nobody.
    bus_.registerObject(ownPath, this, QDBusConnection::ExportScriptableSlots);
    auto role = Role::unanswered;
    // The owner may end between the two calls; the name is free then.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto owner = requestName(bus_, limit);
        if (!owner.isValid()) {
            role = Role::alone;
            break;
        }
        if (owner.value() == 1 || owner.value() == 4) {
            isFirst_ = true;
            return Role::first;
        }
        const auto answer = requestActivation(bus_, token, limit);
        if (answer.type() == QDBusMessage::ReplyMessage) {
            role = Role::second;
            break;
        }
    }
    bus_.unregisterObject(ownPath);
    return role;
}

void SingleInstance::release()
{
    if (!std::exchange(isFirst_, false))
        return;
    bus_.unregisterObject(ownPath);
    auto message = QDBusMessage::createMethodCall(busName, busPath, busName, QStringLiteral("ReleaseName"));
    message << ownName;
    bus_.send(message);
}

void SingleInstance::Activate(const QVariantMap& platformData)
{
    const auto token = platformData.value(tokenKey).toString();
    Q_EMIT activated(token.isEmpty() ? platformData.value(startupIDKey).toString() : token);
}

QDBusConnection sessionBusIfAny()
{
    return hasSessionBus() ? QDBusConnection::sessionBus() : QDBusConnection(QStringLiteral("none"));
}

QString activationToken()
{
    for (const char* const name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        if (const auto token = qEnvironmentVariable(name); !token.isEmpty())
            return token;
    }
    return {};
}
