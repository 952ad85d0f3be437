#include "foundation/views/style/Icons.h"

#include "foundation/views/style/ColorRoles.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <array>
#include <cmath>
#include <utility>

// A resource in a static library is only linked and registered when named; the macro wants the global namespace.
static void registerSymbols()
{
    Q_INIT_RESOURCE(icons);
}

namespace {

// In the order of `Symbol`.
constexpr std::array<const char*, symbolCount> fileNames{"account", "add", "arrow-left", "arrow-right", "arrow-up",
    "bucket-private", "bucket-public", "bug", "calendar", "cancel", "check", "check-circle", "chevron-down",
    "chevron-left", "chevron-right", "clock", "close", "cloud", "copy", "download", "error", "export", "eye", "eye-off",
    "file", "file-archive", "file-audio", "file-code", "file-image", "file-pdf", "file-text", "file-video", "filter",
    "folder", "folder-open", "folder-upload", "hidden", "info", "key", "link", "lock", "log", "more", "plug", "refresh",
    "resume", "retry", "search", "settings", "show-in-folder", "skip", "storage", "transfers", "trash", "unfinished",
    "upload", "versions", "warning"};

QByteArray drawingOf(Symbol symbol)
{
    static const bool isRegistered = (registerSymbols(), true);
    Q_UNUSED(isRegistered)
    QFile file(QStringLiteral(":/kestrovan/icons/%1.svg").arg(QLatin1String(fileNames.at(std::to_underlying(symbol)))));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Large symbols keep thin lines, because a scaled stroke would look heavy beside a title.
QByteArray strokeFor(int extent)
{
    return extent >= 32 ? QByteArrayLiteral("stroke-width=\"0.8\"") : QByteArrayLiteral("stroke-width=\"1.5\"");
}

QPixmap drawn(Symbol symbol, const QSize& size, double ratio, const QColor& color)
{
    QByteArray svg = drawingOf(symbol);
    svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    svg.replace("stroke-width=\"1.5\"", strokeFor(std::min(size.width(), size.height())));
    QPixmap pixmap((QSizeF(size) * ratio).toSize());
    pixmap.fill(Qt::transparent);
    QSvgRenderer renderer(svg);
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    QPainter painter(&pixmap);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter, QRectF(pixmap.rect()));
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

class SymbolEngine final : public QIconEngine {
public:
    SymbolEngine(Symbol symbol, SymbolTint tint)
        : symbol_(symbol)
        , tint_(tint)
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const double ratio = painter->device() != nullptr ? painter->device()->devicePixelRatioF() : 1;
        painter->drawPixmap(rect.topLeft(), symbolPixmap(symbol_, rect.size(), ratio, colorFor(mode)));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        return symbolPixmap(symbol_, size, 1, colorFor(mode));
    }

    // The size is in device pixels here.
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override
    {
        return symbolPixmap(symbol_, (QSizeF(size) / scale).toSize(), scale, colorFor(mode));
    }

    QIconEngine* clone() const override { return new SymbolEngine(*this); }
    QString key() const override { return QStringLiteral("KestrovanSymbol"); }

private:
    QColor colorFor(QIcon::Mode mode) const
    {
        const QPalette palette = QGuiApplication::palette();
        switch (mode) {
        case QIcon::Disabled:
            return palette.color(QPalette::Disabled, QPalette::Text);
        case QIcon::Selected:
            return palette.color(QPalette::Active, QPalette::HighlightedText);
        default:
            return tintColor(tint_, palette);
        }
    }

    Symbol symbol_;
    SymbolTint tint_;
};

struct ExtensionSymbol {
    QStringView extensions; ///< Each between blanks.
    Symbol symbol;
};

constexpr std::array extensionSymbols{
    ExtensionSymbol{
        u" jpg jpeg png gif webp svg heic heif avif tif tiff bmp ico raw dng cr2 nef arw psd xcf ", Symbol::fileImage},
    ExtensionSymbol{u" mp4 mkv mov avi webm m4v mpg mpeg wmv flv ts m2ts ", Symbol::fileVideo},
    ExtensionSymbol{u" mp3 flac wav ogg opus m4a aac aif aiff wma mid ", Symbol::fileAudio},
    ExtensionSymbol{u" zip tar gz tgz bz2 xz zst 7z rar lz4 iso img dmg deb rpm ", Symbol::fileArchive},
    ExtensionSymbol{u" pdf ", Symbol::filePdf},
    ExtensionSymbol{u" c cc cpp h hpp rs go py js jsx tsx java kt swift rb php sh sql html css json xml yaml yml toml ",
        Symbol::fileCode},
    ExtensionSymbol{u" txt md rst log csv tsv doc docx odt rtf tex epub ods xls xlsx odp ppt pptx ", Symbol::fileText},
};

} // namespace

QIcon symbolIcon(Symbol symbol, SymbolTint tint)
{
    return QIcon(new SymbolEngine(symbol, tint));
}

QPixmap symbolPixmap(Symbol symbol, const QSize& size, double devicePixelRatio, const QColor& color)
{
    const QString key = QStringLiteral("symbol/%1/%2x%3/%4/%5")
                            .arg(std::to_underlying(symbol))
                            .arg(size.width())
                            .arg(size.height())
                            .arg(devicePixelRatio)
                            .arg(color.rgba(), 0, 16);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = drawn(symbol, size, devicePixelRatio, color);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

QIcon applicationIcon()
{
    registerSymbols();
    // Drawn here, because the icon plugin may not be installed.
    QIcon bundled;
    QSvgRenderer renderer(QStringLiteral(":/kestrovan/icons/com.zantro.kestrovan.svg"));
    for (const int extent : {16, 32, 48, 128, 256}) {
        QPixmap pixmap(extent, extent);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.end();
        bundled.addPixmap(pixmap);
    }
    return QIcon::fromTheme(QStringLiteral("com.zantro.kestrovan"), bundled);
}

QColor tintColor(SymbolTint tint, const QPalette& palette)
{
    switch (tint) {
    case SymbolTint::plain:
        return symbolColor(palette);
    case SymbolTint::secondary:
        return secondaryText(palette);
    case SymbolTint::accent:
        return accent(palette);
    case SymbolTint::notice:
        return messageColor(MessageKind::notice, palette);
    case SymbolTint::warning:
        return messageColor(MessageKind::warning, palette);
    case SymbolTint::success:
        return messageColor(MessageKind::success, palette);
    case SymbolTint::danger:
        return messageColor(MessageKind::danger, palette);
    }
    return {};
}

Symbol fileSymbol(QStringView fileName)
{
    const auto dot = fileName.lastIndexOf(u'.');
    if (dot <= 0) {
        return Symbol::file;
    }
    const QString wanted = u' ' + fileName.mid(dot + 1).toString().toLower() + u' ';
    for (const auto& [extensions, symbol] : extensionSymbols) {
        if (extensions.contains(wanted)) {
            return symbol;
        }
    }
    return Symbol::file;
}
