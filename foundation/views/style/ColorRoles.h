#pragma once

#include <QColor>
#include <QPalette>

/// Colours derived from a palette: the only ones the program uses beside the palette's own.
///
/// Functions of values: cheap enough for a paint event, callable from any thread. They ask the palette's active
/// group, so that a window in the background keeps its colours.

/// The meaning of a message, which decides its hue and icon.
enum class MessageKind { notice, success, warning, danger };

/// `over` drawn on `under` with the given opacity, 0 to 1.
QColor mixed(const QColor& over, const QColor& under, double opacity);

/// Contrast ratio of two opaque colours after WCAG 2: 1 to 21.
double contrastRatio(const QColor& first, const QColor& second);

/// Moves `color` away from `background` until text in it is readable there (4.5:1), keeping its hue while possible.
QColor readable(const QColor& color, const QColor& background);

/// Whether the palette draws light text on dark.
bool isDark(const QPalette& palette);

/// Secondary text: 60 % of text over base, more where 60 % would not be readable on window or base.
QColor secondaryText(const QPalette& palette);

/// Thin lines between areas: 12 % of text over the window.
QColor hairline(const QPalette& palette);

/// Outline of a control that takes input: stronger than a hairline.
QColor controlOutline(const QPalette& palette);

/// The veil over the item under the pointer: 6 % of text.
QColor hoverVeil(const QPalette& palette);

/// The veil over a control held down or switched on: 12 % of text.
QColor pressedVeil(const QPalette& palette);

/// Focus rings, progress and switched-on marks; stands out at least 3:1 from window and base.
QColor accent(const QPalette& palette);

/// Symbols beside text: between text and secondary text.
QColor symbolColor(const QPalette& palette);

/// Icon and text colour of a message; readable on base, window and its own tint.
QColor messageColor(MessageKind kind, const QPalette& palette);

/// Background of a destructive button; white is readable on it.
QColor dangerFill();

/// Background of a banner.
QColor messageTint(MessageKind kind, const QPalette& palette);
