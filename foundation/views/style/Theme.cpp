#include "foundation/views/style/Theme.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Style.h"

#include <QApplication>
#include <QGuiApplication>

#include <array>

namespace {

struct Shades {
    QRgb window;
    QRgb base;
    QRgb alternate;
    QRgb text;
    QRgb button;
    QRgb highlight;
    QRgb link;
    QRgb idleSelection;
};

constexpr Shades lightShades{.window = 0xfff6f7f8,
    .base = 0xffffffff,
    .alternate = 0xfff9fafa,
    .text = 0xff0f1317,
    .button = 0xffffffff,
    .highlight = 0xff1f6aa5,
    .link = 0xff1a5f96,
    .idleSelection = 0xffdfe3e7};

constexpr Shades darkShades{.window = 0xff23272b,
    .base = 0xff1a1d20,
    .alternate = 0xff1f2225,
    .text = 0xffe8eaed,
    .button = 0xff31363b,
    .highlight = 0xff2d6fa8,
    .link = 0xff7db8ea,
    .idleSelection = 0xff383e45};

QPalette paletteOf(const Shades& shades)
{
    const QColor window(shades.window);
    const QColor base(shades.base);
    const QColor text(shades.text);
    QPalette palette(QColor(shades.button), window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(shades.alternate));
    palette.setColor(QPalette::Button, QColor(shades.button));
    palette.setColor(QPalette::Highlight, QColor(shades.highlight));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(shades.link));
    palette.setColor(QPalette::LinkVisited, QColor(shades.link));
    palette.setColor(QPalette::ToolTipBase, mixed(text, base, isDark(palette) ? 0.16 : 0.02));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, secondaryText(palette));

    // In a list without focus the selection stays visible, but clearly differs from the one that keys act on.
    palette.setColor(QPalette::Inactive, QPalette::Highlight, QColor(shades.idleSelection));
    palette.setColor(QPalette::Inactive, QPalette::HighlightedText, text);

    const QColor faint = mixed(text, window, 0.42);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText}) {
        palette.setColor(QPalette::Disabled, role, faint);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(shades.idleSelection));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, faint);
    palette.setColor(QPalette::Disabled, QPalette::Base, window);
    palette.setColor(QPalette::Disabled, QPalette::Button, window);
    return palette;
}

// Without a platform palette the application has exactly the palette of its style.
bool differsFromStyle(const QPalette& palette, const QPalette& standard)
{
    constexpr std::array roles{QPalette::Window, QPalette::Base, QPalette::Text, QPalette::Button, QPalette::Highlight};
    return std::ranges::any_of(roles, [&](auto role) { return palette.color(role) != standard.color(role); });
}

} // namespace

void Theme::prepareApplication()
{
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

Theme::Theme()
    : style_(new Style)
{
    QApplication::setStyle(style_);
    hasPlatformPalette_ = differsFromStyle(QApplication::palette(), style_->standardPalette());
    connect(&desktop_, &DesktopPreferences::changed, this, &Theme::apply);
    apply();
}

void Theme::setScheme(ColorScheme scheme)
{
    scheme_ = scheme;
    apply();
}

QPalette Theme::lightPalette()
{
    return paletteOf(lightShades);
}

QPalette Theme::darkPalette()
{
    return paletteOf(darkShades);
}

void Theme::apply()
{
    if (style_) {
        style_->setAnimated(desktop_.wantsAnimations());
    }
    const QPalette wanted = wantedPalette();
    if (wanted != QApplication::palette()) {
        QApplication::setPalette(wanted);
        Q_EMIT changed();
    }
}

QPalette Theme::wantedPalette() const
{
    const ColorScheme scheme = scheme_ == ColorScheme::system ? desktop_.colorScheme() : scheme_;
    if (scheme_ == ColorScheme::system && hasPlatformPalette_) {
        // Keeps the user's palette, except that hints become readable; an unset role is taken from the platform.
        QApplication::setPalette(QPalette());
        const QColor hint = secondaryText(QApplication::palette());
        QPalette palette;
        palette.setColor(QPalette::PlaceholderText, hint);
        return palette;
    }
    return scheme == ColorScheme::dark ? darkPalette() : lightPalette();
}

bool mayAnimate(const QWidget* widget)
{
    return QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, widget) > 0;
}
