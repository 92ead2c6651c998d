#include "linux/dialog/PortalFolders.h"

#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDir>
#include <QUrl>
#include <QUuid>

namespace vennic {

namespace {

const QString& service() {
    static const QString name = QStringLiteral("org.freedesktop.portal.Desktop");
    return name;
}
const QString& requestInterface() {
    static const QString name = QStringLiteral("org.freedesktop.portal.Request");
    return name;
}

constexpr int beginPatience = 10'000; // ms; the portal may have to be started first
constexpr uint confirmed = 0;
constexpr qsizetype mostFolders = 1000;

} // namespace

Task<std::optional<QStringList>> foldersFromPortal(QDBusConnection bus, FolderPanel panel) {
    if (!bus.isConnected())
        co_return std::nullopt;
    PortalFolderRequest request(bus);
    co_return co_await request.ask(std::move(panel));
}

PortalFolderRequest::PortalFolderRequest(const QDBusConnection& bus)
    : bus_(bus), watcher_(service(), bus, QDBusServiceWatcher::WatchForUnregistration),
      token_(QStringLiteral("vennic_") + QUuid::createUuid().toString(QUuid::Id128)) {
    // Before the call, so that no answer comes too early to be heard.
    listenAt(QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                 .arg(bus_.baseService().mid(1).replace(u'.', u'_'), token_));
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        if (open_)
            finish(QStringList()); // the panel has gone with it
    });
}

PortalFolderRequest::~PortalFolderRequest() {
    if (open_)
        bus_.send(QDBusMessage::createMethodCall(service(), handle_, requestInterface(), QStringLiteral("Close")));
}

Task<std::optional<QStringList>> PortalFolderRequest::ask(FolderPanel panel) {
    auto call = QDBusMessage::createMethodCall(service(), QStringLiteral("/org/freedesktop/portal/desktop"),
                                               QStringLiteral("org.freedesktop.portal.FileChooser"),
                                               QStringLiteral("OpenFile"));
    const QVariantMap options{{QStringLiteral("handle_token"), token_},
                              {QStringLiteral("accept_label"), panel.prompt},
                              {QStringLiteral("directory"), true},
                              {QStringLiteral("multiple"), true},
                              {QStringLiteral("modal"), true}};
    call << QString() << panel.message << options; // no window that it belongs to
    const QDBusPendingCallWatcher begin(bus_.asyncCall(call, beginPatience));
    open_ = true;
    connect(&begin, &QDBusPendingCallWatcher::finished, this, &PortalFolderRequest::begun);
    co_return co_await ended_;
}

void PortalFolderRequest::begun(QDBusPendingCallWatcher* call) {
    const QDBusPendingReply<QDBusObjectPath> reply = *call;
    if (reply.isError())
        finish(std::nullopt);
    else if (reply.value().path() != handle_)
        listenAt(reply.value().path()); // an old portal, which chooses the place itself
}

void PortalFolderRequest::listenAt(const QString& handle) {
    handle_ = handle;
    bus_.connect(service(), handle_, requestInterface(), QStringLiteral("Response"), this,
                 SLOT(answered(uint, QVariantMap)));
}

void PortalFolderRequest::answered(uint response, const QVariantMap& results) {
    QStringList folders;
    if (response == confirmed) {
        for (const QString& uri : results.value(QStringLiteral("uris")).toStringList().mid(0, mostFolders)) {
            const QUrl url(uri, QUrl::StrictMode);
            if (url.isLocalFile() && url.host().isEmpty() && QDir::isAbsolutePath(url.toLocalFile()))
                folders.append(url.toLocalFile());
        }
    }
    finish(folders);
}

void PortalFolderRequest::finish(const std::optional<QStringList>& chosen) {
    if (!open_)
        return;
    open_ = false;
    ended_.set(chosen);
}

} // namespace vennic
