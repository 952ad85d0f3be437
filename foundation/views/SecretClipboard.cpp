#include "foundation/views/SecretClipboard.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMimeData>

SecretClipboard::SecretClipboard(QObject* parent, std::chrono::milliseconds lifetime)
    : QObject(parent)
{
    timer_.setSingleShot(true);
    timer_.setInterval(lifetime);
    connect(&timer_, &QTimer::timeout, this, &SecretClipboard::takeBack);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &SecretClipboard::takeBack);
    // Not every platform releases data that was replaced, so the change itself counts too. Some also report the
    // program's own copy, and late.
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] {
        if (data_ && QGuiApplication::clipboard()->mimeData() != data_)
            data_.clear();
    });
}

void SecretClipboard::takeBack()
{
    if (isOurs())
        QGuiApplication::clipboard()->clear();
    data_.clear();
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
    auto* const data = new QMimeData; // The clipboard takes ownership.
    data->setText(secret);
    data->setData(QString::fromLatin1(hintType), hintValue);
    QGuiApplication::clipboard()->setMimeData(data);
    data_ = data;
    timer_.start();
}
