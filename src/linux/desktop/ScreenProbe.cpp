#include "linux/desktop/ScreenProbe.h"

#include "linux/FileDescriptor.h"
#include "linux/desktop/XcbLink.h"

#include <QDir>
#include <QLibraryInfo>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace vennic {

namespace {

bool hasPlugin(const QString& pattern) {
    const QDir platforms(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    return !platforms.entryList({pattern}, QDir::Files).isEmpty();
}

/// By the rules of wl_display_connect: a name is one in the runtime folder.
bool waylandAnswers() {
    QByteArray path = qgetenv("WAYLAND_DISPLAY");
    if (path.isEmpty())
        return false;
    if (!path.startsWith('/'))
        path = qgetenv("XDG_RUNTIME_DIR") + '/' + path;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return socket.isOpen() &&
           ::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

QByteArray usableScreen() {
    if (waylandAnswers() && hasPlugin(QStringLiteral("libqwayland*.so")))
        return "wayland";
    if (XcbLink::open() && hasPlugin(QStringLiteral("libqxcb.so")))
        return "xcb";
    return {};
}

} // namespace vennic
