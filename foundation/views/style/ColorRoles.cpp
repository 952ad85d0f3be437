#include "foundation/views/style/ColorRoles.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double readableRatio = 4.5;
constexpr double visibleRatio = 3.0;
constexpr QColor dangerHue(0xd9, 0x2d, 0x38);

double luminance(const QColor& color)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor role(const QPalette& palette, QPalette::ColorRole role)
{
    return palette.color(QPalette::Active, role);
}

QColor strengthened(QColor color, const QColor& background, double ratio)
{
    const QColor end = luminance(background) < 0.18 ? QColor(Qt::white) : QColor(Qt::black);
    for (int step = 0; step < 40 && contrastRatio(color, background) < ratio; ++step) {
        color = mixed(end, color, 0.05);
    }
    return color;
}

QColor veil(const QPalette& palette, double opacity)
{
    QColor color = role(palette, QPalette::Text);
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

QColor hueOf(MessageKind kind, const QPalette& palette)
{
    switch (kind) {
    case MessageKind::notice:
        return role(palette, QPalette::Highlight);
    case MessageKind::success:
        return QColor(0x2e, 0x8b, 0x57);
    case MessageKind::warning:
        return QColor(0xd9, 0x8a, 0x04);
    case MessageKind::danger:
        return dangerHue;
    }
    return {};
}

} // namespace

QColor mixed(const QColor& over, const QColor& under, double opacity)
{
    const auto channel = [opacity](
                             int a, int b) { return static_cast<int>(std::lround(a * opacity + b * (1 - opacity))); };
    return {channel(over.red(), under.red()), channel(over.green(), under.green()), channel(over.blue(), under.blue())};
}

double contrastRatio(const QColor& first, const QColor& second)
{
    const auto [dark, light] = std::minmax({luminance(first), luminance(second)});
    return (light + 0.05) / (dark + 0.05);
}

QColor readable(const QColor& color, const QColor& background)
{
    return strengthened(color, background, readableRatio);
}

bool isDark(const QPalette& palette)
{
    return luminance(role(palette, QPalette::Window)) < luminance(role(palette, QPalette::WindowText));
}

QColor secondaryText(const QPalette& palette)
{
    const QColor sixty = mixed(role(palette, QPalette::Text), role(palette, QPalette::Base), 0.6);
    return readable(readable(sixty, role(palette, QPalette::Base)), role(palette, QPalette::Window));
}

QColor hairline(const QPalette& palette)
{
    return mixed(role(palette, QPalette::Text), role(palette, QPalette::Window), 0.12);
}

QColor controlOutline(const QPalette& palette)
{
    return mixed(role(palette, QPalette::Text), role(palette, QPalette::Window), 0.24);
}

QColor hoverVeil(const QPalette& palette)
{
    return veil(palette, 0.06);
}

QColor pressedVeil(const QPalette& palette)
{
    return veil(palette, 0.12);
}

QColor accent(const QPalette& palette)
{
    const QColor highlight = role(palette, QPalette::Highlight);
    return strengthened(strengthened(highlight, role(palette, QPalette::Base), visibleRatio),
        role(palette, QPalette::Window), visibleRatio);
}

QColor symbolColor(const QPalette& palette)
{
    return mixed(role(palette, QPalette::Text), role(palette, QPalette::Base), 0.78);
}

QColor messageColor(MessageKind kind, const QPalette& palette)
{
    const QColor onTint = readable(hueOf(kind, palette), messageTint(kind, palette));
    return readable(readable(onTint, role(palette, QPalette::Base)), role(palette, QPalette::Window));
}

QColor dangerFill()
{
    return readable(dangerHue, Qt::white);
}

QColor messageTint(MessageKind kind, const QPalette& palette)
{
    return mixed(hueOf(kind, palette), role(palette, QPalette::Base), isDark(palette) ? 0.18 : 0.1);
}
