#include "linux/GlibWait.h"

#include "base/LocalizedError.h"
#include "linux/GlibFault.h"

namespace vennic {

namespace {

void onReady(GObject*, GAsyncResult* result, gpointer place) {
    static_cast<GlibOwned<GAsyncResult>*>(place)->reset(G_ASYNC_RESULT(g_object_ref(result)));
}

bool isTimeout(const GError* error) {
    // The last two are those of a bus whose service doesn't start, and of one that sends nothing any more.
    return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT);
}

} // namespace

GlibWait::GlibWait(std::stop_token stop, unsigned mostSeconds)
    : loop_(g_main_context_new()), operation_(g_cancellable_new()), mostSeconds_(mostSeconds),
      onStop_(std::move(stop), Cancel{operation_.get()}) {}

GlibWait::~GlibWait() { g_main_context_unref(loop_); }

GlibOwned<GAsyncResult> GlibWait::resultOf(const Begin& begin) {
    GlibOwned<GAsyncResult> result;
    GSource* const timeout = g_timeout_source_new_seconds(mostSeconds_);
    g_source_set_callback(timeout, onTimeout, this, nullptr);
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

gboolean GlibWait::onTimeout(gpointer wait) {
    auto* const self = static_cast<GlibWait*>(wait);
    self->isTimedOut_ = true;
    g_cancellable_cancel(self->operation_.get());
    return G_SOURCE_REMOVE;
}

void GlibWait::raise(GError* error) const {
    const bool isCancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
    if (!isCancelled && !isTimeout(error))
        raiseGlibError(error);
    g_error_free(error);
    throw LocalizedError(isCancelled && !isTimedOut_ ? QStringLiteral("La demande a été interrompue.")
                                                     : QStringLiteral("La demande est restée sans réponse."));
}

} // namespace vennic
