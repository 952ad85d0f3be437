#include "foundation/views/style/ColorRoles.h"

#include "tests/foundation/views/Scene.h"

#include <array>

namespace {

struct NamedPalette {
    const char* name;
    QPalette palette;
};

QPalette made(QRgb window, QRgb base, QRgb text, QRgb highlight)
{
    QPalette palette{QColor(window)};
    palette.setColor(QPalette::Base, QColor(base));
    palette.setColor(QPalette::Text, QColor(text));
    palette.setColor(QPalette::WindowText, QColor(text));
    palette.setColor(QPalette::Highlight, QColor(highlight));
    return palette;
}

// The program's own, and some that users bring.
std::array<NamedPalette, 5> palettes()
{
    return {{{"light", Theme::lightPalette()}, {"dark", Theme::darkPalette()},
        {"sepia", made(0xffe8dfc8, 0xfff5efdf, 0xff4a4033, 0xffd0a040)},
        {"grey on grey", made(0xff9a9a9a, 0xffa8a8a8, 0xff101010, 0xffb0b0b0)},
        {"black", made(0xff000000, 0xff000000, 0xffffffff, 0xff303030)}}};
}

TEST(ColorRolesTest, TextIsReadableOnEveryBackground)
{
    for (const auto& [name, palette] : palettes()) {
        SCOPED_TRACE(name);
        for (const auto ground : {QPalette::Base, QPalette::Window}) {
            EXPECT_GE(contrastRatio(secondaryText(palette), palette.color(ground)), 4.5);
        }
        for (const auto kind : {MessageKind::notice, MessageKind::success, MessageKind::warning, MessageKind::danger}) {
            const QColor tint = messageTint(kind, palette);
            EXPECT_GE(contrastRatio(messageColor(kind, palette), tint), 4.5);
            EXPECT_GE(contrastRatio(messageColor(kind, palette), palette.color(QPalette::Base)), 4.5);
            EXPECT_GE(contrastRatio(palette.color(QPalette::Text), tint), 4.5);
        }
        EXPECT_GE(contrastRatio(accent(palette), palette.color(QPalette::Base)), 3.0);
        EXPECT_GE(contrastRatio(accent(palette), palette.color(QPalette::Window)), 3.0);
    }
}

TEST(ColorRolesTest, TheProgramsOwnPalettesAreReadableEverywhere)
{
    for (const QPalette& palette : {Theme::lightPalette(), Theme::darkPalette()}) {
        SCOPED_TRACE(isDark(palette) ? "dark" : "light");
        const auto ratio = [&](QPalette::ColorGroup group, QPalette::ColorRole text, QPalette::ColorRole ground) {
            return contrastRatio(palette.color(group, text), palette.color(group, ground));
        };
        EXPECT_GE(ratio(QPalette::Active, QPalette::HighlightedText, QPalette::Highlight), 4.5);
        EXPECT_GE(ratio(QPalette::Inactive, QPalette::HighlightedText, QPalette::Highlight), 4.5);
        EXPECT_GE(ratio(QPalette::Active, QPalette::ButtonText, QPalette::Button), 4.5);
        EXPECT_GE(ratio(QPalette::Active, QPalette::Link, QPalette::Base), 4.5);
        EXPECT_GE(ratio(QPalette::Active, QPalette::PlaceholderText, QPalette::Base), 4.5);
        EXPECT_GE(ratio(QPalette::Active, QPalette::ToolTipText, QPalette::ToolTipBase), 4.5);
    }
}

TEST(ColorRolesTest, SecondaryTextStaysAtSixtyPerCentWhereThatIsReadable)
{
    const QPalette palette = Theme::lightPalette();

    EXPECT_EQ(secondaryText(palette), mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), 0.6));
}

TEST(ColorRolesTest, ContrastIsThatOfTheStandard)
{
    EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21, 0.001);
    EXPECT_NEAR(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
}

TEST(ThemeTest, AChosenSchemeChangesThePaletteOfTheRunningProgram)
{
    Theme theme;
    int changes = 0;
    QObject::connect(&theme, &Theme::changed, [&] { ++changes; });

    theme.setScheme(ColorScheme::dark);
    EXPECT_TRUE(isDark(QApplication::palette()));
    theme.setScheme(ColorScheme::light);
    EXPECT_FALSE(isDark(QApplication::palette()));

    EXPECT_EQ(changes, 2);
}

} // namespace
