#pragma once
#include "linux/desktop/StatusNotifierObject.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace vennic::test {

/// What stands between icons and status bars on the session bus, with or without a bar.
class StandInWatcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    /// Comes onto the bus that the environment names.
    explicit StandInWatcher(bool withHost = true);
    StandInWatcher(const StandInWatcher&) = delete;
    StandInWatcher& operator=(const StandInWatcher&) = delete;
    ~StandInWatcher() override;

    bool hasHost() const { return hasHost_; }
    void setHost(bool present);
    /// Reads the properties of the icon that enlisted last.
    QVariantMap icon();
    StatusNotifierPixmaps pixmaps();
    /// Calls a method of it, as a click does.
    void click(const QString& method, int x, int y);

    QStringList enlisted;

public Q_SLOTS:
    // NOLINTNEXTLINE(readability-identifier-naming)
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service) { enlisted.append(service); }

Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierHostRegistered();   // NOLINT(readability-identifier-naming)
    Q_SCRIPTABLE void StatusNotifierHostUnregistered(); // NOLINT(readability-identifier-naming)

private:
    QString name_;
    QDBusConnection bus_;
    bool hasHost_;
};

} // namespace vennic::test
