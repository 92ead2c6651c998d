#pragma once
#include "linux/DBusReturn.h"
#include "linux/desktop/StatusNotifierObject.h"

#include <QDBusServiceWatcher>

#include <functional>
#include <memory>

namespace vennic {

/// The icon in status bars that are reached over the session bus. It is registered with each watcher of such bars that
/// comes, also with one that comes late or again, and with a bus that comes again. Main thread only.
class StatusNotifier final : public QObject {
    Q_OBJECT

public:
    StatusNotifier();

    void setImage(const std::optional<StatusImage>& image, bool highlighted);
    void setLabel(const QString& label) { object_.setLabel(label); }
    /// Whether a bar shows the icon, as far as the watcher knows; none before it has said so.
    std::optional<bool> hasHost() const { return hasHost_; }

Q_SIGNALS:
    void hasHostChanged();
    void activated(QPoint place);

private Q_SLOTS:
    void askForHost();

private:
    void stepOntoBus();
    void enlist();
    void setHasHost(bool hasHost);

    DBusLink bus_{DBusLink::Bus::session};
    DBusReturn busReturn_{bus_};
    StatusNotifierObject object_;
    std::unique_ptr<QDBusServiceWatcher> watcher_;
    std::optional<bool> hasHost_;
    quint64 question_ = 0; // an answer to an older question isn't heard
};

} // namespace vennic
