#pragma once

#include <QProxyStyle>

/// Fusion with flat surfaces, hairlines and a focus ring that is always visible. All colours come from the palette.
///
/// A push button with the dynamic property `destructive` set to true is drawn in the colour of danger.
class Style final : public QProxyStyle {
    Q_OBJECT

public:
    static constexpr const char* destructiveProperty = "destructive";

    Style();

    /// Off when the desktop asks for no animations; `SH_Widget_Animation_Duration` is then 0.
    void setAnimated(bool animated) { animated_ = animated; }

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(
        StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* returned) const override;
    void drawPrimitive(
        PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override;
    void drawControl(
        ControlElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
        const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl subControl,
        const QWidget* widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const override;
    QSize sizeFromContents(
        ContentsType type, const QStyleOption* option, const QSize& size, const QWidget* widget) const override;
    QIcon standardIcon(StandardPixmap pixmap, const QStyleOption* option, const QWidget* widget) const override;

private:
    bool animated_ = true;
};
