#pragma once
#include "linux/GlibOwned.h"

#include <functional>
#include <stop_token>

namespace vennic {

/// Waits on the calling thread for asynchronous operations of GIO, which it runs on an event loop of its own. They are
/// cancelled when `stop` asks for it, or when one takes longer than `mostSeconds`.
class GlibWait {
public:
    GlibWait(std::stop_token stop, unsigned mostSeconds);
    GlibWait(const GlibWait&) = delete;
    GlibWait& operator=(const GlibWait&) = delete;
    ~GlibWait();

    using Begin = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;
    /// Has `begin` start one operation and gives its result once it is there, for the operation's "finish".
    GlibOwned<GAsyncResult> resultOf(const Begin& begin);
    /// Raises an operation's error as `raiseGlibError` does, or, where it is the end of our patience or the bus's, in
    /// words that say so: GIO's say that somebody cancelled it. Takes the error.
    [[noreturn]] void raise(GError* error) const;

private:
    static gboolean onTimeout(gpointer wait);

    struct Cancel {
        GCancellable* operation;
        void operator()() const { g_cancellable_cancel(operation); }
    };

    GMainContext* loop_;
    GlibOwned<GCancellable> operation_;
    unsigned mostSeconds_;
    bool isTimedOut_ = false;
    std::stop_callback<Cancel> onStop_;
};

} // namespace vennic
