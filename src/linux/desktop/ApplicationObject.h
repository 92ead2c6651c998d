#pragma once
#include "ports/DesktopActivation.h"

#include <QObject>
#include <QVariantMap>

namespace vennic {

/// The object that the desktop calls, by the interface org.freedesktop.Application of the Desktop Entry Specification.
class ApplicationObject final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationObject(DesktopActivation::Requests requests) : requests_(std::move(requests)) {}

public Q_SLOTS:
    // NOLINTBEGIN(readability-identifier-naming)
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_SCRIPTABLE void ActivateAction(const QString& actionName, const QVariantList& parameter,
                                     const QVariantMap& platformData);
    // NOLINTEND(readability-identifier-naming)

private:
    /// Hands on the token that came along, if there is one.
    void allow(const QVariantMap& platformData) const;

    DesktopActivation::Requests requests_;
};

} // namespace vennic
