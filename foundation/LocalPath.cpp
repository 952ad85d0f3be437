#include "foundation/LocalPath.h"

#include <QByteArray>
#include <QUrl>

// QUrl keeps bytes that are not UTF-8 percent-encoded; as text they would be lost.

std::filesystem::path localPathOf(const QUrl& url)
{
    if (!url.isLocalFile())
        return {};
    return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

QUrl urlOfLocalPath(const std::filesystem::path& path)
{
    return QUrl::fromEncoded("file://" + QByteArray::fromStdString(path.string()).toPercentEncoding("/"));
}
