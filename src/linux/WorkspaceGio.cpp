// GIO's headers use "signals" as a name; they stand first, before Qt's.
#include "linux/WorkspaceGio.h"

#include "base/LocalizedError.h"

#include <QFile>

#include <gio/gio.h>
#include <memory>

namespace vennic {

namespace {
struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

[[noreturn]] void fail(GError* error) {
    const QString words = QString::fromUtf8(error->message);
    g_error_free(error);
    throw LocalizedError(words);
}
} // namespace

void WorkspaceGio::open(const QString& path) {
    GError* error = nullptr;
    const Owned<GFile> file(g_file_new_for_path(QFile::encodeName(path).constData()));
    const Owned<GAppInfo> handler(g_file_query_default_handler(file.get(), nullptr, &error));
    if (!handler)
        fail(error);
    const Owned<GAppLaunchContext> context(g_app_launch_context_new());
    GList files{file.get(), nullptr, nullptr};
    if (!g_app_info_launch(handler.get(), &files, context.get(), &error))
        fail(error);
}

} // namespace vennic
