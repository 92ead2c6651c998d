#include "linux/DBusReturn.h"

namespace vennic {

namespace {
constexpr std::chrono::milliseconds longestPause{60'000};
} // namespace

DBusReturn::DBusReturn(DBusLink& link, std::chrono::milliseconds pause) : link_(link), firstPause_(pause) {
    again_.setSingleShot(true);
    connect(&again_, &QTimer::timeout, this, &DBusReturn::look);
    if (link_.connection().isConnected())
        watch();
}

/// libdbus tells its own end by a signal that no bus sends.
void DBusReturn::watch() {
    link_.connection().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                               QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                               SLOT(onDisconnected()));
}

void DBusReturn::onDisconnected() {
    again_.start(firstPause_);
    Q_EMIT gone();
}

void DBusReturn::look() {
    if (!link_.connection().isConnected()) {
        again_.start(std::min(longestPause, 2 * again_.intervalAsDuration()));
        return;
    }
    watch();
    Q_EMIT returned();
}

} // namespace vennic
