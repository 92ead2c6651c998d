#include "linux/desktop/ApplicationObject.h"

namespace vennic {

namespace {
constexpr qsizetype mostAddresses = 64;
constexpr qsizetype longestAddress = qsizetype{8} * 1024;
} // namespace

void ApplicationObject::Activate(const QVariantMap&) {
    if (requests_.activate)
        requests_.activate();
}

void ApplicationObject::Open(const QStringList& uris, const QVariantMap&) {
    QStringList addresses;
    for (const QString& uri : uris.first(std::min(uris.size(), mostAddresses))) {
        if (uri.size() <= longestAddress)
            addresses.append(uri);
    }
    if (requests_.open && !addresses.isEmpty())
        requests_.open(addresses);
}

void ApplicationObject::ActivateAction(const QString& actionName, const QVariantList&, const QVariantMap&) {
    if (requests_.act)
        requests_.act(actionName);
}

} // namespace vennic
