#pragma once

class QPainter;
class QPalette;
class QRect;
class QColor;
class QStyleOption;
class QStyleOptionButton;
class QStyleOptionComboBox;
class QStyleOptionHeader;
class QStyleOptionProgressBar;
class QStyleOptionSlider;
class QStyleOptionSpinBox;
class QStyleOptionTab;
class QStyleOptionToolButton;
class QStyleOptionViewItem;
class QWidget;
enum class Symbol;

/// The painting functions of `Style`, one for each surface. Each restores the painter's state.

/// Paints a two-pixel ring just inside `rect`, around the widget with the focus.
void paintFocusRing(QPainter& painter, const QRect& rect, const QPalette& palette, double radius = 5);

void paintHairline(QPainter& painter, const QRect& rect, const QPalette& palette);
void paintSymbol(QPainter& painter, Symbol symbol, const QRect& rect, const QColor& color);

void paintPushButton(QPainter& painter, const QStyleOptionButton& option, bool isDestructive);
void paintToolButton(QPainter& painter, const QStyleOption& option);
/// Paints icon and text beside each other, centred together.
void paintToolButtonLabel(QPainter& painter, const QStyleOptionToolButton& option);
void paintGroup(QPainter& painter, const QStyleOption& option);
void paintField(QPainter& painter, const QStyleOption& option);
void paintCheckMark(QPainter& painter, const QStyleOption& option, bool isRound);
void paintHeaderSection(QPainter& painter, const QStyleOptionHeader& option);
void paintItemBackground(QPainter& painter, const QStyleOptionViewItem& option);
void paintProgress(QPainter& painter, const QStyleOptionProgressBar& option);
void paintScrollBar(QPainter& painter, const QStyleOptionSlider& option, const QRect& handle);
void paintTab(QPainter& painter, const QStyleOptionTab& option);
void paintSpinBox(QPainter& painter, const QStyleOptionSpinBox& option, const QRect& up, const QRect& down);
void paintComboBox(QPainter& painter, const QStyleOptionComboBox& option, const QRect& arrow);

/// Text colour that goes with `paintPushButton`.
QColor pushButtonText(const QStyleOptionButton& option, bool isDestructive);
