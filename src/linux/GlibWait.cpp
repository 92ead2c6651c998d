#include "linux/GlibWait.h"

namespace vennic {

namespace {

void onReady(GObject*, GAsyncResult* result, gpointer place) {
    static_cast<GlibOwned<GAsyncResult>*>(place)->reset(G_ASYNC_RESULT(g_object_ref(result)));
}

gboolean onTimeout(gpointer operation) {
    g_cancellable_cancel(G_CANCELLABLE(operation));
    return G_SOURCE_REMOVE;
}

} // namespace

GlibWait::GlibWait(std::stop_token stop, unsigned mostSeconds)
    : loop_(g_main_context_new()), operation_(g_cancellable_new()), mostSeconds_(mostSeconds),
      onStop_(std::move(stop), Cancel{operation_.get()}) {}

GlibWait::~GlibWait() { g_main_context_unref(loop_); }

GlibOwned<GAsyncResult> GlibWait::resultOf(const Begin& begin) {
    GlibOwned<GAsyncResult> result;
    GSource* const timeout = g_timeout_source_new_seconds(mostSeconds_);
    g_source_set_callback(timeout, onTimeout, operation_.get(), nullptr);
    g_source_attach(timeout, loop_);
    g_main_context_push_thread_default(loop_);
    begin(operation_.get(), onReady, &result);
    while (!result)
        g_main_context_iteration(loop_, TRUE);
    g_main_context_pop_thread_default(loop_);
    g_source_destroy(timeout);
    g_source_unref(timeout);
    return result;
}

} // namespace vennic
