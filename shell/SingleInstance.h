#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <chrono>

/// Makes one running program of several starts: the first owns the name "com.zantro.kestrovan" on the session bus, and
/// a later one asks it to show its window (`org.freedesktop.Application`).
///
/// Lives on the main thread. Without a bus every start is on its own.
class SingleInstance final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    enum class Role {
        first,      ///< Owns the name now.
        second,     ///< The running program has been asked to show its window.
        unanswered, ///< Another program owns the name, and does not answer.
        alone,      ///< There is no bus, or it does not answer.
    };

    /// @param bus  each connection counts as a program of its own.
    explicit SingleInstance(QDBusConnection bus, QObject* parent = nullptr);

    /// Asks for the name and, where another owns it, asks that program to show its window. Waits for the bus and that
    /// program, each at most `limit`; for the start, before there is a window.
    ///
    /// @param token  lets the other program raise its window; see `activationToken`. May be empty.
    Role claim(const QString& token, std::chrono::milliseconds limit = std::chrono::seconds(3));

    /// Gives the name back, so that the next start is a first one. Does not wait.
    void release();

public Q_SLOTS:
    /// Called over the bus.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData); // NOLINT(readability-identifier-naming)

Q_SIGNALS:
    /// A later start asks for the window.
    void activated(const QString& token);

private:
    QDBusConnection bus_;
    bool isFirst_ = false;
};

/// The session bus; a connection to nothing where there is none.
QDBusConnection sessionBusIfAny();

/// The token by which the desktop lets this start raise a window, from the environment; empty without one. Must be read
/// before there is an application, which takes it out of the environment.
QString activationToken();
