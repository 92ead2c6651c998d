#include "linux/desktop/StatusNotifier.h"

#include "linux/desktop/StatusPicture.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QtEndian>

namespace vennic {

namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");

/// From the smallest bar to one on a screen of twice the density.
constexpr int sides[] = {16, 18, 22, 24, 32, 36, 48, 64};

StatusNotifierPixmap wireForm(const QImage& picture) {
    const QImage plain = picture.convertToFormat(QImage::Format_ARGB32);
    QByteArray bytes(static_cast<qsizetype>(plain.width()) * plain.height() * 4, Qt::Uninitialized);
    for (int y = 0; y < plain.height(); ++y) {
        const qsizetype line = static_cast<qsizetype>(y) * plain.width() * 4;
        qToBigEndian<quint32>(plain.constScanLine(y), plain.width(), bytes.data() + line);
    }
    return {.width = plain.width(), .height = plain.height(), .bytes = bytes};
}

} // namespace

StatusNotifier::StatusNotifier() {
    connect(&object_, &StatusNotifierObject::activated, this, &StatusNotifier::activated);
    connect(&busReturn_, &DBusReturn::gone, this, [this] { setHasHost(false); });
    connect(&busReturn_, &DBusReturn::returned, this, &StatusNotifier::stepOntoBus);
    stepOntoBus();
}

void StatusNotifier::stepOntoBus() {
    QDBusConnection bus = bus_.connection();
    if (!bus.isConnected()) {
        hasHost_ = false;
        return;
    }
    bus.registerObject(StatusNotifierObject::path(), &object_,
                       QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
                           QDBusConnection::ExportAllProperties);
    watcher_ = std::make_unique<QDBusServiceWatcher>(service, bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(watcher_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                setHasHost(false);
                if (!owner.isEmpty())
                    enlist();
            });
    for (const QString& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")})
        bus.connect(service, path, service, signal, this, SLOT(askForHost()));
    // Not waited for, like all that a watcher is asked: who hangs must not hang the program.
    enlist();
}

void StatusNotifier::enlist() {
    auto call = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("RegisterStatusNotifierItem"));
    call.setArguments({bus_.connection().baseService()});
    call.setAutoStartService(false);
    bus_.connection().asyncCall(call);
    askForHost();
}

void StatusNotifier::askForHost() {
    auto call = QDBusMessage::createMethodCall(service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                               QStringLiteral("Get"));
    call.setArguments({service, QStringLiteral("IsStatusNotifierHostRegistered")});
    call.setAutoStartService(false);
    auto* const pending = new QDBusPendingCallWatcher(bus_.connection().asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [this, question = ++question_](auto* answered) {
        answered->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answered;
        if (question == question_)
            setHasHost(reply.isValid() && reply.value().variant().toBool());
    });
}

void StatusNotifier::setHasHost(bool hasHost) {
    if (hasHost_ == hasHost)
        return;
    hasHost_ = hasHost;
    Q_EMIT hasHostChanged();
}

void StatusNotifier::setImage(const std::optional<StatusImage>& image, bool highlighted) {
    StatusNotifierPixmaps pixmaps;
    if (image) {
        for (const int side : sides) {
            const QImage picture = statusPicture(*image, side, inkForAnyBackground, highlighted);
            if (!picture.isNull())
                pixmaps.append(wireForm(picture));
        }
    }
    // The theme has no highlighted form, and a bar that is given a name doesn't look at the pixels.
    const bool byName = image && !highlighted;
    object_.setPictures(std::move(pixmaps), byName ? image->themeName : QString(),
                        byName ? image->themeFolder : QString());
}

} // namespace vennic
