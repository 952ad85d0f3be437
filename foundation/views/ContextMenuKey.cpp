#include "foundation/views/ContextMenuKey.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QWidget>

ContextMenuKey::ContextMenuKey(QCoreApplication& application)
{
    application.installEventFilter(this);
}

bool ContextMenuKey::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType() || watched != QApplication::focusWidget())
        return false;
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (key.key() != Qt::Key_F10 || key.modifiers() != Qt::ShiftModifier || key.isAutoRepeat())
        return false;
    auto& widget = static_cast<QWidget&>(*watched);
    const auto place = widget.inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
    QContextMenuEvent request(
        QContextMenuEvent::Keyboard, place, widget.mapToGlobal(place), QGuiApplication::keyboardModifiers());
    QCoreApplication::sendEvent(&widget, &request);
    return true;
}
