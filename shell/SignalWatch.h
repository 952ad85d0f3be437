#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal on the main thread. At most one exists at a time.
class SignalWatch final : public QObject {
    Q_OBJECT

public:
    SignalWatch();
    ~SignalWatch() override;

Q_SIGNALS:
    void received();
};
