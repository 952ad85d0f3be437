#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>

class QMimeData;
class QString;

/// Puts secrets on the clipboard for a while: marked so that managers of passwords and histories leave them out, and
/// taken away after 60 seconds, or when the program ends, unless something else was copied meanwhile.
///
/// Lives on the main thread and asks no other program anything, so it never waits.
class SecretClipboard final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds usualLifetime = std::chrono::seconds(60);
    /// The mark and its value.
    static constexpr const char* hintType = "x-kde-passwordManagerHint";
    static constexpr const char* hintValue = "secret";

    explicit SecretClipboard(QObject* parent = nullptr, std::chrono::milliseconds lifetime = usualLifetime);

    /// The one of the process; ends with the application.
    static SecretClipboard& shared();

    /// Copies a text that is secret; the time begins anew.
    void copy(const QString& secret);

    /// Is what was copied last still on the clipboard?
    bool isOurs() const { return !data_.isNull(); }

private:
    void takeBack();

    QTimer timer_;
    QPointer<QMimeData> data_; ///< Null when the clipboard has gone to somebody else.
};
