#pragma once

#include <QDBusMessage>
#include <QObject>

/// Light or dark; `system` follows the desktop.
enum class ColorScheme { system, light, dark };

/// The appearance settings of the desktop's settings portal, followed while running.
///
/// Lives on the main thread and never waits: the first values arrive with `changed()` a moment after construction, or
/// never if there is no portal.
class DesktopPreferences final : public QObject {
    Q_OBJECT

public:
    explicit DesktopPreferences(QObject* parent = nullptr);

    /// `system` while the desktop has not answered or has no preference.
    ColorScheme colorScheme() const { return colorScheme_; }
    bool wantsAnimations() const { return wantsAnimations_; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void settingChanged(const QDBusMessage& message);

private:
    void read(const QString& group, const QString& key);
    void take(const QString& group, const QString& key, const QVariant& value);

    ColorScheme colorScheme_ = ColorScheme::system;
    bool wantsAnimations_ = true;
};
