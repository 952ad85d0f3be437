#pragma once

#include <QFont>

/// Distances of the layout grid, in device-independent pixels. No other distances are used between controls.
struct Spacing {
    static constexpr int tight = 4;
    static constexpr int small = 8;
    static constexpr int normal = 12;
    static constexpr int large = 16;
    static constexpr int wide = 24;
};

/// The four text sizes: 0.9, 1, 1.15 and 1.35 of the system font.
enum class TextSize { small, normal, large, title };

/// The application's font in one of the four sizes. Weight, not colour, carries hierarchy.
QFont textFont(TextSize size, QFont::Weight weight = QFont::Normal);

/// For identifiers, keys and digests, as high as the text around them.
QFont fixedFont(TextSize size = TextSize::normal);

/// `font` with digits of one width where the font and Qt can (Qt before 6.7 takes the font's default figures).
QFont tabularFont(QFont font);

/// Whether `font` draws all digits equally wide.
bool hasTabularFigures(const QFont& font);
