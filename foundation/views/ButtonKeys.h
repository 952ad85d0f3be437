#pragma once

class QKeyEvent;
class QWidget;

/// Lets Enter press the focused button, as Space does, whatever the window's default button is. Does not apply to
/// check boxes and radio buttons, where Enter belongs to the window.
///
/// Called from a window's `keyPressEvent` before its own keys.
/// @returns whether the key was handled.
bool pressFocusedButton(const QWidget& window, const QKeyEvent& event);
