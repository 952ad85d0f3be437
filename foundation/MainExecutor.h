#pragma once

#include "async/Executor.h"

#include <QObject>

#include <coroutine>
#include <deque>
#include <mutex>

/// Runs coroutines on Qt's event loop, in the order of posting: the executor of every model, runner and store.
///
/// Works in slices of a few milliseconds and then lets the loop paint and take input, however many coroutines wait.
/// Nothing runs before the loop starts or after it has ended.
class MainExecutor final : public QObject, public Executor {
    Q_OBJECT

public:
    /// To be constructed on the thread whose loop runs the coroutines.
    explicit MainExecutor(QObject* parent = nullptr);

    /// Callable from any thread.
    void post(std::coroutine_handle<> coroutine) override;

    /// The executor of the application's thread, made on first use (after the application object) and never destroyed.
    static MainExecutor& shared();

protected:
    bool event(QEvent* event) override;

private:
    void runSlice();

    std::mutex mutex_;
    std::deque<std::coroutine_handle<>> queue_;
    bool isAwake_ = false; ///< An event is on its way, or a slice is running.
};
