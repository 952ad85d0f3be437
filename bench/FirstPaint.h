#pragma once

#include <QEvent>
#include <QObject>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

/// Ends the process as soon as a window has been painted for the first time, so that its life is the time it took.
class FirstPaint final : public QObject {
public:
    explicit FirstPaint(QWidget& window)
        : QObject(&window)
    {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        // The window's children are painted in the same turn of the loop.
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, this, [] { _exit(0); });
        return QObject::eventFilter(watched, event);
    }
};
