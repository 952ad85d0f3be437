#include "foundation/views/ButtonKeys.h"

#include <QCheckBox>
#include <QKeyEvent>
#include <QRadioButton>

bool pressFocusedButton(const QWidget& window, const QKeyEvent& event)
{
    const bool isEnter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    auto* const button = qobject_cast<QAbstractButton*>(window.focusWidget());
    const bool isBox = qobject_cast<QCheckBox*>(button) != nullptr || qobject_cast<QRadioButton*>(button) != nullptr;
    if (!isEnter || button == nullptr || isBox || (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    // Auto-repeat of a key that was held down before presses nothing.
    if (!event.isAutoRepeat())
        button->click();
    return true;
}
