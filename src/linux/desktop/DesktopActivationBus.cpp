#include "linux/desktop/DesktopActivationBus.h"

#include <QDBusConnectionInterface>

namespace vennic {

namespace {
const QString service = QStringLiteral("com.vennic.desktop");
const QString path = QStringLiteral("/com/vennic/desktop");
const QString interface = QStringLiteral("org.freedesktop.Application");
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
    QDBusConnection bus = bus_.connection();
    if (!bus.isConnected())
        return false;
    auto call = QDBusMessage::createMethodCall(
        service, path, interface, addresses.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open"));
    if (!addresses.isEmpty())
        call << addresses;
    QVariantMap platformData;
    if (!token.isEmpty())
        platformData = {{QStringLiteral("activation-token"), token}, {QStringLiteral("desktop-startup-id"), token}};
    call << platformData;
    call.setAutoStartService(false); // this program is what would be started
    return bus.call(call, QDBus::Block, static_cast<int>(limit.count())).type() == QDBusMessage::ReplyMessage;
}

} // namespace vennic
