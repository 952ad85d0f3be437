#pragma once

#include "async/Task.h"
#include "foundation/TaskScope.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

class TransferQueue;

/// Holds the system awake as long as it lives.
using SleepLock = std::shared_ptr<const void>;

/// Asks logind for a lock against sleep; the screen may still turn off. Blocks as long as the system bus does.
/// @returns null where there is no logind, or where it refuses.
SleepLock takeSleepLock();

/// Keeps the system awake while transfers run, and a little longer, so that the lock is not released between two files.
/// Transfers run even when no lock can be had.
///
/// Lives on the main thread and never blocks it: another thread asks for the lock.
class SleepInhibitor final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds usualLinger{5};

    /// @param queue  outlives the inhibitor.
    /// @param take   asks for the lock, on any thread; may block.
    explicit SleepInhibitor(TransferQueue& queue, std::function<SleepLock()> take = takeSleepLock,
        std::chrono::milliseconds linger = usualLinger, QObject* parent = nullptr);

    bool isHolding() const { return lock_ != nullptr; }

private:
    static Task<> runTake(QPointer<SleepInhibitor> self, std::function<SleepLock()> take);

    void follow();

    TransferQueue& queue_;
    const std::function<SleepLock()> take_;
    QTimer lingering_;
    SleepLock lock_;
    bool isTaking_ = false;
    TaskScope tasks_;
};
