#pragma once

#include "accounts/KeyStore.h"
#include "foundation/TaskScope.h"

#include <QObject>
#include <QTimer>

#include <chrono>

/// Retries the last key automatically while there is no session and the service cannot be reached, after growing
/// pauses. Does not retry a refused key, nor any key while there is a session.
class Reconnection final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds firstPause{10};
    static constexpr std::chrono::minutes longestPause{5};

    /// @param store  outlives this.
    explicit Reconnection(KeyStore& store, std::chrono::milliseconds pause = firstPause, QObject* parent = nullptr);

    /// Ends for good: cancels a running attempt and waits for it. Must be awaited before the store is destroyed.
    Task<> shutDown();

private:
    void follow();

    KeyStore& store_;
    const std::chrono::milliseconds shortestPause_;
    std::chrono::milliseconds pause_;
    QTimer timer_;
    TaskScope tasks_;
};
