#pragma once
#include "ports/FolderPicker.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QObject>

#include <optional>

namespace vennic {

/// Has the desktop's portal show a panel for folders. None when there is no portal, or none with such a panel.
Task<std::optional<QStringList>> foldersFromPortal(QDBusConnection bus, FolderPanel panel);

/// One request of the portal's file chooser, until it is answered, withdrawn, or its portal has gone.
/// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.FileChooser.html
class PortalFolderRequest final : public QObject {
    Q_OBJECT
public:
    explicit PortalFolderRequest(const QDBusConnection& bus);
    PortalFolderRequest(const PortalFolderRequest&) = delete;
    PortalFolderRequest& operator=(const PortalFolderRequest&) = delete;
    /// Takes the panel away if it is still there.
    ~PortalFolderRequest() override;

    Task<std::optional<QStringList>> ask(FolderPanel panel);

public Q_SLOTS:
    void answered(uint response, const QVariantMap& results);

private:
    void finish(const std::optional<QStringList>& chosen);
    void listenAt(const QString& handle);
    void begun(QDBusPendingCallWatcher* call);

    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    QString token_;
    QString handle_; // the request's object path
    bool open_ = false;
    Event<std::optional<QStringList>> ended_;
};

} // namespace vennic
