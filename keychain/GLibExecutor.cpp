#include "keychain/GLibExecutor.h"

#include <gio/gio.h>

GLibExecutor& GLibExecutor::shared()
{
    static auto* const executor = new GLibExecutor;
    return *executor;
}

GLibExecutor::GLibExecutor()
    : context_(g_main_context_new())
{
    std::thread([context = context_] {
        g_main_context_push_thread_default(context);
        g_main_loop_run(g_main_loop_new(context, FALSE));
    }).detach();
}

void GLibExecutor::post(std::coroutine_handle<> coroutine)
{
    const auto resume = [](gpointer address) -> gboolean {
        std::coroutine_handle<>::from_address(address).resume();
        return G_SOURCE_REMOVE;
    };
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, resume, coroutine.address(), nullptr);
    g_source_attach(source, context_);
    g_source_unref(source);
}
