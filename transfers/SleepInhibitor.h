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

/// Asks logind for a lock against sleep; the screen may still go dark. Blocks as long as the system bus does.
/// @returns null where there is no logind, or where it refuses.
SleepLock takeSleepLock();

/// Keeps the system from going to sleep by itself while transfers run, and a little longer, so that the lock does not
/// come and go between two files. Where it cannot, transfers run all the same.
///
/// Lives on the main thread, which never waits: the lock is asked for on a thread of its own.
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
