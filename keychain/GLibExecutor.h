#pragma once

#include "async/Executor.h"

#include <thread>

using GMainContext = struct _GMainContext;

/// Runs coroutines on a thread with its own GLib main loop, for everything libsecret does: Qt's loop may or may not be
/// GLib's.
class GLibExecutor final : public Executor {
public:
    /// The executor of the process, made on first use and never destroyed.
    static GLibExecutor& shared();

    /// From any thread.
    void post(std::coroutine_handle<> coroutine) override;

private:
    GLibExecutor();
    ~GLibExecutor() override = default;

    GMainContext* context_;
};
