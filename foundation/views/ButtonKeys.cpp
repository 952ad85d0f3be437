#include "foundation/views/ButtonKeys.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QToolButton>

bool pressFocusedButton(const QWidget& window, const QKeyEvent& event)
{
    const bool isEnter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    auto* const focused = window.focusWidget();
    const bool isButton =
        qobject_cast<QPushButton*>(focused) != nullptr || qobject_cast<QToolButton*>(focused) != nullptr;
    if (!isEnter || !isButton || (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    // A key held down since before presses nothing.
    if (!event.isAutoRepeat())
        static_cast<QAbstractButton*>(focused)->click();
    return true;
}
