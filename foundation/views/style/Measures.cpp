#include "foundation/views/style/Measures.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>

#include <cmath>

namespace {

double scaleOf(TextSize size)
{
    switch (size) {
    case TextSize::small:
        return 0.9;
    case TextSize::normal:
        return 1;
    case TextSize::large:
        return 1.15;
    case TextSize::title:
        return 1.35;
    }
    return 1;
}

QFont scaled(QFont font, double scale)
{
    // A font is set in points or in pixels; the other is -1.
    if (font.pointSizeF() > 0) {
        font.setPointSizeF(font.pointSizeF() * scale);
    } else {
        font.setPixelSize(static_cast<int>(std::lround(font.pixelSize() * scale)));
    }
    return font;
}

} // namespace

QFont textFont(TextSize size, QFont::Weight weight)
{
    QFont font = scaled(QGuiApplication::font(), scaleOf(size));
    font.setWeight(weight);
    return font;
}

QFont fixedFont(TextSize size)
{
    const QFont text = textFont(size);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (text.pointSizeF() > 0) {
        font.setPointSizeF(text.pointSizeF());
    } else {
        font.setPixelSize(text.pixelSize());
    }
    return font;
}

QFont tabularFont(QFont font)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    font.setFeature("tnum", 1);
#endif
    return font;
}

bool hasTabularFigures(const QFont& font)
{
    const QFontMetricsF metrics(font);
    const double zero = metrics.horizontalAdvance(u'0');
    for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
        if (std::abs(metrics.horizontalAdvance(digit) - zero) > 0.01) {
            return false;
        }
    }
    return true;
}
