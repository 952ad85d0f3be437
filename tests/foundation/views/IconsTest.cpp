#include "foundation/views/style/Icons.h"

#include "tests/foundation/views/Scene.h"

#include <QSet>

namespace {

QImage drawn(Symbol symbol, int extent, double ratio, const QColor& color)
{
    return symbolPixmap(symbol, QSize(extent, extent), ratio, color).toImage().convertToFormat(QImage::Format_ARGB32);
}

int inkOf(const QImage& picture)
{
    int ink = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            ink += picture.pixelColor(x, y).alpha() > 64 ? 1 : 0;
        }
    }
    return ink;
}

TEST(IconsTest, EverySymbolIsDrawnInTheColourAskedForAndLooksLikeNoOther)
{
    QSet<QByteArray> seen;
    for (int index = 0; index < symbolCount; ++index) {
        SCOPED_TRACE(index);
        const QImage picture = drawn(static_cast<Symbol>(index), 32, 1, Qt::red);

        EXPECT_GT(inkOf(picture), 20);
        EXPECT_LT(inkOf(picture), 700);
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const QColor pixel = picture.pixelColor(x, y);
                ASSERT_TRUE(pixel.alpha() < 16 || (pixel.green() < 32 && pixel.blue() < 32)) << x << ' ' << y;
            }
        }
        seen.insert(QByteArray(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes()));
    }
    EXPECT_EQ(seen.size(), symbolCount);
}

TEST(IconsTest, IsDrawnAtTheScreensOwnResolution)
{
    const QPixmap plain = symbolIcon(Symbol::folder).pixmap(QSize(16, 16), 1.0);
    const QPixmap twice = symbolIcon(Symbol::folder).pixmap(QSize(16, 16), 2.0);

    EXPECT_EQ(plain.size(), QSize(16, 16));
    EXPECT_EQ(twice.size(), QSize(32, 32));
    EXPECT_EQ(twice.devicePixelRatio(), 2.0);
    // It is not the small drawing enlarged.
    EXPECT_NE(plain.toImage().scaled(32, 32), twice.toImage());
}

TEST(IconsTest, FollowsThePaletteAndItsStates)
{
    const QIcon icon = symbolIcon(Symbol::trash);
    const auto lightest = [&](QIcon::Mode mode) {
        const QImage picture = icon.pixmap(QSize(16, 16), 1.0, mode).toImage().convertToFormat(QImage::Format_ARGB32);
        int lightness = 0;
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 16; ++x) {
                const QColor pixel = picture.pixelColor(x, y);
                lightness = pixel.alpha() > 200 ? std::max(lightness, pixel.lightness()) : lightness;
            }
        }
        return lightness;
    };
    {
        const InPalette light(Theme::lightPalette());
        EXPECT_LT(lightest(QIcon::Normal), 100);
        EXPECT_GT(lightest(QIcon::Disabled), lightest(QIcon::Normal));
        EXPECT_GT(lightest(QIcon::Selected), 240);
    }
    const InPalette dark(Theme::darkPalette());
    EXPECT_GT(lightest(QIcon::Normal), 150);
}

TEST(IconsTest, TheProgramsIconExistsWithoutAnyIconTheme)
{
    const QImage icon = applicationIcon().pixmap(QSize(48, 48), 1.0).toImage();

    EXPECT_EQ(icon.size(), QSize(48, 48));
    EXPECT_GT(inkOf(icon), 48 * 48 / 2);
}

TEST(IconsTest, AFilesExtensionDecidesItsSymbol)
{
    EXPECT_EQ(fileSymbol(u"IMG_1.JPEG"), Symbol::fileImage);
    EXPECT_EQ(fileSymbol(u"backup.tar.zst"), Symbol::fileArchive);
    EXPECT_EQ(fileSymbol(u"no extension"), Symbol::file);
    EXPECT_EQ(fileSymbol(u".jpg"), Symbol::file);
    EXPECT_EQ(fileSymbol(u"odd.p g"), Symbol::file);
    EXPECT_EQ(fileSymbol(u"dot."), Symbol::file);
}

} // namespace
