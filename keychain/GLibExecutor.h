#pragma once

#include "async/Executor.h"

#include <thread>

using GMainContext = struct _GMainContext;

/// Runs coroutines on a thread of GLib's own main loop, where everything that libsecret does happens: Qt's loop may be
/// GLib's or not.
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
