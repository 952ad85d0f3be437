#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>

class QMimeData;
class QString;

/// Puts secrets on the clipboard for a while: marked so that clipboard histories leave them out, and removed after
/// 60 seconds, or when the program ends, unless something else was copied in the meantime.
///
/// Lives on the main thread. Never waits, because it asks no other program anything.
class SecretClipboard final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds usualLifetime = std::chrono::seconds(60);
    /// The mark and its value.
    static constexpr const char* hintType = "x-kde-passwordManagerHint";
    static constexpr const char* hintValue = "secret";

    explicit SecretClipboard(QObject* parent = nullptr, std::chrono::milliseconds lifetime = usualLifetime);

    /// The instance of the process; ends with the application.
    static SecretClipboard& shared();

    /// Copies a secret; the 60 seconds start again.
    void copy(const QString& secret);

    /// Returns whether the secret copied last is still on the clipboard.
    bool isOurs() const { return !data_.isNull(); }

private:
    void takeBack();

    QTimer timer_;
    QPointer<QMimeData> data_; ///< Null when another program owns the clipboard.
};
