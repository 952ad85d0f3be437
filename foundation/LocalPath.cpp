#include "foundation/LocalPath.h"

#include <QByteArray>
#include <QUrl>

// QUrl keeps what is no UTF-8 in its percent-encoded form; as text it would be lost.

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
