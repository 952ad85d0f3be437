#pragma once

#include <QIcon>
#include <QPixmap>
#include <QStringView>

class QPalette;

/// The bundled symbols. A symbol means one thing everywhere.
enum class Symbol {
    account,
    add,
    arrowLeft,
    arrowRight,
    arrowUp,
    bucketPrivate,
    bucketPublic,
    bug,
    calendar,
    cancel,
    check,
    checkCircle,
    chevronDown,
    chevronLeft,
    chevronRight,
    clock,
    close,
    cloud,
    copy,
    download,
    error,
    exportTo,
    eye,
    eyeOff,
    file,
    fileArchive,
    fileAudio,
    fileCode,
    fileImage,
    filePdf,
    fileText,
    fileVideo,
    filter,
    folder,
    folderOpen,
    folderUpload,
    hidden,
    info,
    key,
    link,
    lock,
    log,
    more,
    plug,
    refresh,
    resume,
    retry,
    search,
    settings,
    showInFolder,
    skip,
    storage,
    transfers,
    trash,
    unfinished,
    upload,
    versions,
    warning,
};

/// All symbols in order, for tests and for viewing.
constexpr int symbolCount = static_cast<int>(Symbol::warning) + 1;

/// The meaning of a symbol's colour. Plain is close to the text colour; all follow the application's palette when
/// painted.
enum class SymbolTint { plain, secondary, accent, notice, success, warning, danger };

/// Returns an icon that is painted in the colour of the current palette, sharp at every scale.
///
/// Disabled and selected states come from the palette too. Making one is cheap; drawings are cached.
QIcon symbolIcon(Symbol symbol, SymbolTint tint = SymbolTint::plain);

/// The symbol in one colour; for delegates. `size` is in device-independent pixels. Cached.
QPixmap symbolPixmap(Symbol symbol, const QSize& size, double devicePixelRatio, const QColor& color);

/// The program's own icon: the installed one of the icon theme, or else the bundled drawing.
QIcon applicationIcon();

/// The colour a tint stands for in a palette.
QColor tintColor(SymbolTint tint, const QPalette& palette);

/// Returns the symbol of a file's type, by its extension alone.
Symbol fileSymbol(QStringView fileName);
