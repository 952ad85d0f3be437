#include "foundation/views/SecretClipboard.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMimeData>
#include <QScopedValueRollback>

SecretClipboard::SecretClipboard(QObject* parent, std::chrono::milliseconds lifetime)
    : QObject(parent)
{
    timer_.setSingleShot(true);
    timer_.setInterval(lifetime);
    connect(&timer_, &QTimer::timeout, this, [this] {
        if (isOurs())
            QGuiApplication::clipboard()->clear();
        data_.clear();
    });
    // Not every platform lets go of data that was replaced, so the change itself counts too.
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] {
        if (!isCopying_)
            data_.clear();
    });
}

SecretClipboard& SecretClipboard::shared()
{
    static QPointer<SecretClipboard> clipboard;
    if (!clipboard)
        clipboard = new SecretClipboard(QCoreApplication::instance());
    return *clipboard;
}

void SecretClipboard::copy(const QString& secret)
{
    const QScopedValueRollback copying(isCopying_, true);
    auto* const data = new QMimeData; // The clipboard takes it.
    data->setText(secret);
    data->setData(QString::fromLatin1(hintType), hintValue);
    QGuiApplication::clipboard()->setMimeData(data);
    data_ = data;
    timer_.start();
}
