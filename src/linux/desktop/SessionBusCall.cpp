#include "linux/desktop/SessionBusCall.h"

#include "linux/DBusLink.h"
#include "linux/GlibWait.h"

namespace vennic {

namespace {

constexpr unsigned busPatience = 2; // seconds; a bus that is well takes a thousandth of that

/// Null where there is no bus, or none that answers. Its greeting is ours to say: GIO's waits for as long as it likes.
GlibOwned<GDBusConnection> connectedTo(const QByteArray& address) {
    GlibWait wait({}, busPatience);
    const auto result = wait.resultOf([&](GCancellable* operation, GAsyncReadyCallback ready, gpointer place) {
        g_dbus_connection_new_for_address(address.constData(), G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr,
                                          operation, ready, place);
    });
    return GlibOwned<GDBusConnection>(g_dbus_connection_new_for_address_finish(result.get(), nullptr));
}

bool isAnswered(GDBusConnection* bus, const char* service, const char* path, const char* interface, const char* method,
                GVariant* arguments, std::chrono::milliseconds limit) {
    const GlibOwned<GVariant> answer(g_dbus_connection_call_sync(bus, service, path, interface, method, arguments,
                                                                 nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                                                 static_cast<int>(limit.count()), nullptr, nullptr));
    return answer != nullptr;
}

} // namespace

bool callOnSessionBus(const char* service, const char* path, const char* interface, const char* method,
                      GVariant* arguments, std::chrono::milliseconds limit) {
    const GlibOwned<GVariant> kept(g_variant_ref_sink(arguments));
    const QByteArray address = DBusLink::addressOf(DBusLink::Bus::session).toUtf8();
    if (address.isEmpty())
        return false;
    const GlibOwned<GDBusConnection> bus = connectedTo(address);
    return bus &&
           isAnswered(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello",
                      nullptr, std::chrono::seconds{busPatience}) &&
           isAnswered(bus.get(), service, path, interface, method, arguments, limit);
}

} // namespace vennic
