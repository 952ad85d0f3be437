#pragma once

#include "foundation/views/style/Theme.h"

#include <QApplication>
#include <QImage>
#include <QPalette>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/// A palette for the run of a test.
class InPalette {
public:
    explicit InPalette(const QPalette& palette)
        : before_(QApplication::palette())
    {
        QApplication::setPalette(palette);
    }
    ~InPalette() { QApplication::setPalette(before_); }
    InPalette(const InPalette&) = delete;
    InPalette& operator=(const InPalette&) = delete;

private:
    QPalette before_;
};

/// Shows a widget as an active window.
inline void present(QWidget& widget)
{
    widget.show();
    QApplication::setActiveWindow(&widget);
    QApplication::processEvents();
}

/// How many pixels of the picture are `color`, give or take what blending does.
inline int countOf(const QImage& picture, const QColor& color, int tolerance = 12)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor pixel = picture.pixelColor(x, y);
            count += std::abs(pixel.red() - color.red()) <= tolerance
                && std::abs(pixel.green() - color.green()) <= tolerance
                && std::abs(pixel.blue() - color.blue()) <= tolerance;
        }
    }
    return count;
}
