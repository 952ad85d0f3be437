#pragma once

class QKeyEvent;
class QWidget;

/// Enter presses the button that has the focus, as Space does, whatever the window's default button is. Boxes and
/// radio buttons are no such buttons: there Enter is the window's.
///
/// Called from a window's `keyPressEvent` before its own keys.
/// @returns whether the key is used up.
bool pressFocusedButton(const QWidget& window, const QKeyEvent& event);
