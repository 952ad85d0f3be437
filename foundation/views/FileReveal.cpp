#include "foundation/views/FileReveal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace {

void openFolderOf(const QString& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

} // namespace

void revealInFileManager(const QStringList& paths)
{
    if (paths.isEmpty())
        return;
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolderOf(paths.first());
        return;
    }
    QStringList addresses;
    for (const QString& path : paths)
        addresses.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("ShowItems"));
    call.setArguments({addresses, QString()});
    constexpr int timeoutInMilliseconds = 5'000;
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, timeoutInMilliseconds), qApp);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, qApp, [watcher, path = paths.first()] {
        watcher->deleteLater();
        if (QDBusPendingReply<>(*watcher).isError())
            openFolderOf(path);
    });
}
