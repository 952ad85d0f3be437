#pragma once

#include "accounts/KeyStore.h"
#include "foundation/TaskScope.h"

#include <QObject>
#include <QTimer>

#include <chrono>

/// Connects again by itself, with the key that was last tried, while there is no session and the service cannot be
/// reached. The pauses grow. A refused key is left alone, and so is one beside a session that stands.
class Reconnection final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds firstPause{10};
    static constexpr std::chrono::minutes longestPause{5};

    /// @param store  outlives this.
    explicit Reconnection(KeyStore& store, std::chrono::milliseconds pause = firstPause, QObject* parent = nullptr);

    /// Ends for good: a running attempt is asked to stop and waited for. To be awaited before the store goes.
    Task<> shutDown();

private:
    void follow();

    KeyStore& store_;
    const std::chrono::milliseconds shortestPause_;
    std::chrono::milliseconds pause_;
    QTimer timer_;
    TaskScope tasks_;
};
