// GIO's headers use "signals" as a name; they stand first, before Qt's.
#include "linux/DefaultHandler.h"

#include "base/LocalizedError.h"
#include "linux/ProcessLimits.h"

#include <QFile>

#include <array>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>

namespace vennic {

namespace {

constexpr int mostWait = 30'000; // milliseconds for all that is asked over the bus

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

/// The errors of GIO calls, raised.
class Failure {
public:
    Failure() = default;
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;
    ~Failure() { g_clear_error(&error_); }

    GError** out() { return &error_; }
    [[noreturn]] void raise() const {
        throw LocalizedError(error_ ? QString::fromUtf8(error_->message) : QStringLiteral("GIO"));
    }

private:
    GError* error_ = nullptr;
};

/// A main loop of this thread's own, for calls that answer by callback, and the end of their time.
class Patience {
public:
    Patience() {
        g_main_context_push_thread_default(context_);
        GSource* const timer = g_timeout_source_new(mostWait);
        g_source_set_callback(timer, [](gpointer self) { return static_cast<Patience*>(self)->end(); }, this, nullptr);
        g_source_attach(timer, context_);
        g_source_unref(timer);
    }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience() {
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }

    GCancellable* cancellable() const { return cancellable_.get(); }
    /// What a call is to be started with as its callback and its data.
    static void answered(GObject*, GAsyncResult* result, gpointer self) {
        static_cast<Patience*>(self)->result_.reset(static_cast<GAsyncResult*>(g_object_ref(result)));
    }
    /// The result of the call that was started: a cancelled one when its time ends first.
    Owned<GAsyncResult> result() {
        while (!result_)
            g_main_context_iteration(context_, TRUE);
        return std::move(result_);
    }

private:
    gboolean end() {
        g_cancellable_cancel(cancellable_.get());
        return G_SOURCE_REMOVE;
    }

    GMainContext* context_ = g_main_context_new();
    Owned<GCancellable> cancellable_{g_cancellable_new()};
    Owned<GAsyncResult> result_;
};

/// The session bus as GIO shares it within the process; none when there is no bus. GIO ends the whole program when a
/// bus that it shares goes away, unless it is told not to.
Owned<GDBusConnection> sessionBus(Patience& patience) {
    g_bus_get(G_BUS_TYPE_SESSION, patience.cancellable(), Patience::answered, &patience);
    Owned<GDBusConnection> bus(g_bus_get_finish(patience.result().get(), nullptr));
    if (bus)
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    return bus;
}

class Uris {
public:
    explicit Uris(GFile* file) : uri_(g_file_get_uri(file)), list_{uri_.get(), nullptr, nullptr} {}
    const char* first() const { return uri_.get(); }
    GList* list() { return &list_; }

private:
    struct Free {
        void operator()(char* text) const { g_free(text); }
    };
    std::unique_ptr<char, Free> uri_;
    GList list_;
};

bool isFolder(GFile* file) {
    return g_file_query_file_type(file, G_FILE_QUERY_INFO_NONE, nullptr) == G_FILE_TYPE_DIRECTORY;
}

/// Asks the running or startable file manager (freedesktop.org File Manager D-Bus Interface).
void showInFileManager(GDBusConnection& bus, const Uris& uris, Patience& patience) {
    const std::array<const char*, 1> shown{uris.first()};
    GVariant* const arguments = g_variant_new("(@ass)", g_variant_new_strv(shown.data(), shown.size()), "");
    g_dbus_connection_call(&bus, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                           "org.freedesktop.FileManager1", "ShowFolders", arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
                           mostWait, patience.cancellable(), Patience::answered, &patience);
    Failure failure;
    GVariant* const reply = g_dbus_connection_call_finish(&bus, patience.result().get(), failure.out());
    if (!reply)
        failure.raise();
    g_variant_unref(reply);
}

/// Tells the application over the bus, which starts it where needed, and waits for its answer.
void tell(GAppInfo& handler, Uris& uris, GAppLaunchContext& context, Patience& patience) {
    g_app_info_launch_uris_async(&handler, uris.list(), &context, patience.cancellable(), Patience::answered,
                                 &patience);
    Failure failure;
    if (!g_app_info_launch_uris_finish(&handler, patience.result().get(), failure.out()))
        failure.raise();
}

void start(GDesktopAppInfo& handler, Uris& uris, GAppLaunchContext& context) {
    Failure failure;
    const auto prepare = [](gpointer) { restoreUserMask(); };
    if (!g_desktop_app_info_launch_uris_as_manager(&handler, uris.list(), &context, G_SPAWN_SEARCH_PATH, prepare,
                                                   nullptr, nullptr, nullptr, failure.out()))
        failure.raise();
}

} // namespace

void openWithDefaultHandler(const QString& path) {
    Patience patience;
    const Owned<GFile> file(g_file_new_for_path(QFile::encodeName(path).constData()));
    // Held as long as GIO may use it.
    const Owned<GDBusConnection> bus = sessionBus(patience);
    Uris uris(file.get());
    Failure failure;
    const Owned<GAppInfo> handler(g_file_query_default_handler(file.get(), patience.cancellable(), failure.out()));
    if (!handler) {
        if (!bus || !isFolder(file.get()))
            failure.raise();
        showInFileManager(*bus, uris, patience);
        return;
    }
    const Owned<GAppLaunchContext> context(g_app_launch_context_new());
    GDesktopAppInfo* const entry = G_DESKTOP_APP_INFO(handler.get());
    if (bus && g_desktop_app_info_get_boolean(entry, G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE))
        tell(*handler, uris, *context, patience);
    else
        start(*entry, uris, *context);
}

} // namespace vennic
