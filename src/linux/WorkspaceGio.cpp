#include "linux/WorkspaceGio.h"

#include "base/LocalizedError.h"
#include "linux/GlibFault.h"
#include "linux/GlibWait.h"
#include "linux/ProgramOfTheUser.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <array>
#include <atomic>
#include <gio/gdesktopappinfo.h>
#include <unistd.h>

namespace vennic {

namespace {

constexpr unsigned mostSeconds = 60; // that an application started by the bus may take; the bus gives up before

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

/// "…/applications/" of a data folder, as it begins the names of the files in it.
QString applicationsOf(const QString& data) { return data + QStringLiteral("/applications/"); }

/// The id of a start, which holds when it was asked for: by that a window manager tells whether the user has done
/// something else since, and may let the application come to the front (Startup Notification Protocol, "_TIME").
gchar* nextStartupId(GAppLaunchContext*, GAppInfo*, GList*) {
    static std::atomic<unsigned> count = 0;
    // The X server's clock is this one, in milliseconds of 32 bits.
    const auto now = static_cast<guint32>(g_get_monotonic_time() / 1000);
    return g_strdup_printf("vennic-%d-%u_TIME%u", ::getpid(), ++count, now);
}

GlibOwned<GAppLaunchContext> newLaunchContext() {
    static const GType type = g_type_register_static_simple(
        G_TYPE_APP_LAUNCH_CONTEXT, "VennicLaunchContext", sizeof(GAppLaunchContextClass),
        [](gpointer type, gpointer) { G_APP_LAUNCH_CONTEXT_CLASS(type)->get_startup_notify_id = nextStartupId; },
        sizeof(GAppLaunchContext), nullptr, GTypeFlags(0));
    GlibOwned<GAppLaunchContext> context(G_APP_LAUNCH_CONTEXT(g_object_new(type, nullptr)));
    for (const char* const* name = variablesOfThisProcess(); *name != nullptr; ++name)
        g_app_launch_context_unsetenv(context.get(), *name);
    return context;
}

/// The session bus's connection, on a thread of GIO's. Its first user's event loop is the one that lets go of a
/// connection that has ended, and GIO hands out the old one until then: that has to be the main loop, which threads
/// without a loop of their own stand for, and not that of a `GlibWait`, which nobody runs any more.
void connectToSessionBus(GTask* task, gpointer, gpointer, GCancellable* operation) {
    GError* error = nullptr;
    GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, operation, &error);
    if (bus == nullptr)
        return g_task_return_error(task, error);
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_task_return_pointer(task, bus, g_object_unref);
}

/// GIO connects to the session bus by itself at every start, and unless told otherwise such a connection ends this
/// process with the bus. Null where there is no bus.
GlibOwned<GDBusConnection> harmlessSessionBus(GlibWait& wait) {
    const auto result = wait.resultOf([](GCancellable* operation, GAsyncReadyCallback ready, gpointer place) {
        const GlibOwned<GTask> task(g_task_new(nullptr, operation, ready, place));
        g_task_run_in_thread(task.get(), connectToSessionBus);
    });
    GError* error = nullptr;
    GlibOwned<GDBusConnection> bus(
        static_cast<GDBusConnection*>(g_task_propagate_pointer(G_TASK(result.get()), &error)));
    if (bus)
        return bus;
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED))
        wait.raise(error); // GIO would wait for that bus too, and without an end
    g_error_free(error);
    return nullptr;
}

/// The name on the bus by which the application is started; empty where it is started by its program. The Desktop Entry
/// Specification, "D-Bus Activation", has it be the file's name.
QByteArray nameOnTheBus(GDesktopAppInfo* application) {
    if (g_desktop_app_info_get_boolean(application, G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE) == FALSE)
        return {};
    const QByteArray file =
        QFileInfo(QFile::decodeName(g_desktop_app_info_get_filename(application))).fileName().toUtf8();
    const QByteArray name = file.chopped(file.endsWith(".desktop") ? 8 : 0);
    return g_dbus_is_name(name.constData()) && !name.startsWith(':') ? name : QByteArray();
}

/// Has the bus start the application, and waits for what both have to say to that. GIO's own way doesn't wait, and
/// where it does it keeps the connection after a failure.
void activate(GDBusConnection* bus, const QByteArray& name, const gchar* uri, GlibWait& wait) {
    const QByteArray path = '/' + QByteArray(name).replace('.', '/').replace('-', '_');
    const GlibText id(nextStartupId(nullptr, nullptr, nullptr));
    const GlibOwned<GVariant> about(g_variant_ref_sink(
        g_variant_new_parsed("{'desktop-startup-id': <%s>, 'activation-token': <%s>}", id.get(), id.get())));
    GVariant* const what =
        uri == nullptr
            ? g_variant_new("(@a{sv})", about.get())
            : g_variant_new("(^as@a{sv})", std::array{uri, static_cast<const gchar*>(nullptr)}.data(), about.get());
    const auto result = wait.resultOf([&](GCancellable* operation, GAsyncReadyCallback ready, gpointer place) {
        g_dbus_connection_call(bus, name.constData(), path.constData(), "org.freedesktop.Application",
                               uri == nullptr ? "Activate" : "Open", what, nullptr, G_DBUS_CALL_FLAGS_NONE,
                               static_cast<int>(mostSeconds) * 1000, operation, ready, place);
    });
    GError* error = nullptr;
    const GlibOwned<GVariant> answer(g_dbus_connection_call_finish(bus, result.get(), &error));
    if (!answer)
        wait.raise(error);
}

/// Asks the file manager, which the bus starts where needed (freedesktop.org File Manager D-Bus Interface).
void showInFileManager(GDBusConnection* bus, const gchar* uri, GlibWait& wait) {
    GVariant* const what = g_variant_new("(^ass)", std::array{uri, static_cast<const gchar*>(nullptr)}.data(), "");
    const auto result = wait.resultOf([&](GCancellable* operation, GAsyncReadyCallback ready, gpointer place) {
        g_dbus_connection_call(bus, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                               "org.freedesktop.FileManager1", "ShowFolders", what, nullptr, G_DBUS_CALL_FLAGS_NONE,
                               static_cast<int>(mostSeconds) * 1000, operation, ready, place);
    });
    GError* error = nullptr;
    const GlibOwned<GVariant> answer(g_dbus_connection_call_finish(bus, result.get(), &error));
    if (!answer)
        wait.raise(error);
}

/// Starts the application's program. Only as a manager of sessions one may say how it is started.
void spawn(GDesktopAppInfo* application, const gchar* uri) {
    const GlibOwned<GAppLaunchContext> context = newLaunchContext();
    GList file{const_cast<gchar*>(uri), nullptr, nullptr};
    // NOLINTNEXTLINE(*.EnumCastOutOfRange): a set of flags
    constexpr auto silent = GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    GError* error = nullptr;
    if (!g_desktop_app_info_launch_uris_as_manager(application, uri != nullptr ? &file : nullptr, context.get(), silent,
                                                   becomeProgramOfTheUser, nullptr, nullptr, nullptr, &error)) {
        // GIO has no code of its own for this.
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_FAILED) &&
            g_desktop_app_info_get_boolean(application, G_KEY_FILE_DESKTOP_KEY_TERMINAL)) {
            g_error_free(error);
            throw LocalizedError(QStringLiteral("« %1 » a besoin d'un terminal, et il n'y en a pas.")
                                     .arg(text(g_app_info_get_name(G_APP_INFO(application)))));
        }
        raiseGlibError(error);
    }
}

/// Starts the application, with a file when there is one, and returns once that is done.
void launch(GDesktopAppInfo* application, const gchar* uri, std::stop_token stop) {
    GlibWait wait(std::move(stop), mostSeconds);
    const auto bus = harmlessSessionBus(wait);
    const QByteArray name = nameOnTheBus(application);
    if (bus && !name.isEmpty())
        activate(bus.get(), name, uri, wait);
    else
        spawn(application, uri); // what GIO tells the bus of it is the main loop's to finish
}

} // namespace

std::vector<Application> WorkspaceGio::applications() {
    using Place = Application::Place;
    std::vector<std::pair<QString, Place>> folders{
        {applicationsOf(QFile::decodeName(g_get_user_data_dir())), Place::user}};
    for (const gchar* const* data = g_get_system_data_dirs(); *data != nullptr; ++data) {
        const QString folder = QDir::cleanPath(QFile::decodeName(*data));
        folders.emplace_back(applicationsOf(folder), folder == systemData_ ? Place::system : Place::installed);
    }
    std::vector<Application> found;
    GList* const all = g_app_info_get_all();
    for (const GList* each = all; each != nullptr; each = each->next) {
        auto* const info = G_APP_INFO(each->data);
        auto* const entry = G_DESKTOP_APP_INFO(each->data);
        Application application;
        application.entry = QFile::decodeName(g_desktop_app_info_get_filename(entry));
        application.identifier = text(g_app_info_get_id(info));
        application.name = text(GlibText(g_desktop_app_info_get_string(entry, G_KEY_FILE_DESKTOP_KEY_NAME)).get());
        application.localizedName = text(g_app_info_get_name(info));
        application.isShown = g_app_info_should_show(info) != FALSE;
        for (const auto& [folder, place] : folders) {
            if (application.entry.startsWith(folder)) {
                application.pathInFolder = application.entry.sliced(folder.size());
                application.place = place;
                break;
            }
        }
        found.push_back(std::move(application));
    }
    g_list_free_full(all, g_object_unref);
    return found;
}

void WorkspaceGio::openApplication(const QString& entry, std::stop_token stop) {
    const GlibOwned<GDesktopAppInfo> application(
        g_desktop_app_info_new_from_filename(QFile::encodeName(entry).constData()));
    if (!application)
        throw LocalizedError(QStringLiteral("L'application n'est plus installée."));
    launch(application.get(), nullptr, std::move(stop));
}

bool WorkspaceGio::hasDefaultApplication(const char* mimeType) {
    return GlibOwned<GAppInfo>(g_app_info_get_default_for_type(mimeType, FALSE)) != nullptr;
}

QString WorkspaceGio::defaultApplication(const char* mimeType) {
    const GlibOwned<GAppInfo> application(g_app_info_get_default_for_type(mimeType, FALSE));
    return application ? QFile::decodeName(g_app_info_get_id(application.get())) : QString();
}

void WorkspaceGio::open(const QString& path, std::stop_token stop) {
    const GlibOwned<GFile> file(g_file_new_for_path(QFile::encodeName(path).constData()));
    const GlibText uri(g_file_get_uri(file.get()));
    GError* error = nullptr;
    const GlibOwned<GAppInfo> handler(g_file_query_default_handler(file.get(), nullptr, &error));
    if (handler)
        return launch(G_DESKTOP_APP_INFO(handler.get()), uri.get(), std::move(stop));
    std::unique_ptr<GError, decltype(&g_error_free)> reason(error, &g_error_free);
    GlibWait wait(std::move(stop), mostSeconds);
    GlibOwned<GDBusConnection> bus;
    if (g_file_query_file_type(file.get(), G_FILE_QUERY_INFO_NONE, nullptr) == G_FILE_TYPE_DIRECTORY)
        bus = harmlessSessionBus(wait);
    if (!bus)
        raiseGlibError(reason.release());
    showInFileManager(bus.get(), uri.get(), wait);
}

void WorkspaceGio::openURL(const QString& url, std::stop_token stop) {
    const QUrl parsed(url, QUrl::StrictMode);
    if (parsed.isLocalFile())
        return open(parsed.toLocalFile(), std::move(stop));
    const GlibOwned<GAppInfo> handler(
        parsed.isValid() ? g_app_info_get_default_for_uri_scheme(parsed.scheme().toLatin1().constData()) : nullptr);
    if (!handler)
        throw LocalizedError(QStringLiteral("Aucune application n'ouvre cette adresse."));
    launch(G_DESKTOP_APP_INFO(handler.get()), url.toUtf8().constData(), std::move(stop));
}

} // namespace vennic
