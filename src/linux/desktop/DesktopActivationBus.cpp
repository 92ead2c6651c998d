#include "linux/desktop/DesktopActivationBus.h"

#include "linux/desktop/SessionBusCall.h"

#include <QDBusConnectionInterface>

namespace vennic {

namespace {
const QString service = QStringLiteral("com.vennic.desktop");
const QString path = QStringLiteral("/com/vennic/desktop");
constexpr const char* interface = "org.freedesktop.Application";

GVariant* listOf(const QStringList& texts) {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE_STRING_ARRAY);
    for (const QString& text : texts)
        g_variant_builder_add(&list, "s", text.toUtf8().constData());
    return g_variant_builder_end(&list);
}

/// What the desktop gave the program besides the addresses (the Desktop Entry Specification, "D-Bus Activation").
GVariant* platformData(const QString& token) {
    GVariantBuilder data;
    g_variant_builder_init(&data, G_VARIANT_TYPE_VARDICT);
    if (!token.isEmpty()) {
        for (const char* name : {"activation-token", "desktop-startup-id"})
            g_variant_builder_add(&data, "{sv}", name, g_variant_new_string(token.toUtf8().constData()));
    }
    return g_variant_builder_end(&data);
}

} // namespace

bool DesktopActivationBus::offer(Requests requests) {
    withdraw();
    requests_ = std::move(requests);
    return stepOntoBus();
}

bool DesktopActivationBus::stepOntoBus() {
    QDBusConnection bus = bus_.connection();
    if (!bus.isConnected())
        return false;
    // Before the name: whoever started the program for a request sends it as soon as the name is there.
    object_ = std::make_unique<ApplicationObject>(requests_);
    bus.registerObject(path, object_.get(), QDBusConnection::ExportScriptableSlots);
    const auto answer = bus.interface()->registerService(service, QDBusConnectionInterface::DontQueueService,
                                                         QDBusConnectionInterface::DontAllowReplacement);
    if (answer.isValid() && answer.value() == QDBusConnectionInterface::ServiceRegistered) {
        if (!busReturn_) {
            busReturn_ = std::make_unique<DBusReturn>(bus_);
            QObject::connect(busReturn_.get(), &DBusReturn::returned, busReturn_.get(), [this] { stepOntoBus(); });
        }
        return true;
    }
    bus.unregisterObject(path);
    object_.reset();
    return false;
}

void DesktopActivationBus::withdraw() {
    busReturn_.reset();
    if (!object_)
        return;
    if (QDBusConnection bus = bus_.connection(); bus.isConnected()) {
        bus.interface()->unregisterService(service);
        bus.unregisterObject(path);
    }
    object_.reset();
}

bool DesktopActivationBus::handOver(const QStringList& addresses, const QString& token,
                                    std::chrono::milliseconds limit) {
    GVariant* const arguments = addresses.isEmpty()
                                    ? g_variant_new("(@a{sv})", platformData(token))
                                    : g_variant_new("(@as@a{sv})", listOf(addresses), platformData(token));
    // None is started for it: this program is what would be started.
    return callOnSessionBus(service.toUtf8().constData(), path.toUtf8().constData(), interface,
                            addresses.isEmpty() ? "Activate" : "Open", arguments, limit);
}

} // namespace vennic
