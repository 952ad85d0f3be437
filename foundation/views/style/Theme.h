#pragma once

#include "foundation/views/style/DesktopPreferences.h"

#include <QObject>
#include <QPalette>
#include <QPointer>

class QWidget;
class Style;

/// The program's look: style, palette and scheme.
///
/// A palette of the platform (Plasma, qt6ct) is kept; otherwise the program uses its own light or dark palette, as the
/// desktop's settings portal prefers, and follows it while running. Lives on the main thread; create one after the
/// application and keep it as long.
class Theme final : public QObject {
    Q_OBJECT

public:
    /// Sets what must be set before the application is created: fractional scales are not rounded.
    static void prepareApplication();

    /// Sets the application's style and palette.
    Theme();

    /// Overrides the desktop's scheme, for tests and tours; `system` follows it again.
    void setScheme(ColorScheme scheme);
    ColorScheme scheme() const { return scheme_; }

    static QPalette lightPalette();
    static QPalette darkPalette();

Q_SIGNALS:
    /// After the application's palette changed.
    void changed();

private:
    void apply();
    QPalette wantedPalette() const;

    DesktopPreferences desktop_;
    ColorScheme scheme_ = ColorScheme::system;
    QPointer<Style> style_; ///< The application owns it.
    bool hasPlatformPalette_ = false;
};

/// Whether things may move: false when the desktop asks for no animations.
bool mayAnimate(const QWidget* widget = nullptr);
