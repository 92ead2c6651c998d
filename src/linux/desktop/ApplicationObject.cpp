#include "linux/desktop/ApplicationObject.h"

namespace vennic {

namespace {
constexpr qsizetype mostAddresses = 64;
constexpr qsizetype longestAddress = qsizetype{8} * 1024;
constexpr qsizetype longestToken = 1024;
} // namespace

// By the names of the Desktop Entry Specification 1.5, the newer first.
void ApplicationObject::allow(const QVariantMap& platformData) const {
    for (const char* name : {"activation-token", "desktop-startup-id"}) {
        const QVariant value = platformData.value(QLatin1String(name));
        const QString token = value.typeId() == QMetaType::QString ? value.toString() : QString();
        if (requests_.allow && !token.isEmpty() && token.size() <= longestToken)
            return requests_.allow(token);
    }
}

void ApplicationObject::Activate(const QVariantMap& platformData) {
    allow(platformData);
    if (requests_.activate)
        requests_.activate();
}

void ApplicationObject::Open(const QStringList& uris, const QVariantMap& platformData) {
    allow(platformData);
    QStringList addresses;
    for (const QString& uri : uris.first(std::min(uris.size(), mostAddresses))) {
        if (uri.size() <= longestAddress)
            addresses.append(uri);
    }
    if (requests_.open && !addresses.isEmpty())
        requests_.open(addresses);
}

void ApplicationObject::ActivateAction(const QString& actionName, const QVariantList&,
                                       const QVariantMap& platformData) {
    allow(platformData);
    if (requests_.act)
        requests_.act(actionName);
}

} // namespace vennic
