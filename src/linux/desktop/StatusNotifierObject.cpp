#include "linux/desktop/StatusNotifierObject.h"

#include <QDBusMetaType>

namespace vennic {

QDBusArgument& operator<<(QDBusArgument& to, const StatusNotifierPixmap& pixmap) {
    to.beginStructure();
    to << pixmap.width << pixmap.height << pixmap.bytes;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, StatusNotifierPixmap& pixmap) {
    from.beginStructure();
    from >> pixmap.width >> pixmap.height >> pixmap.bytes;
    from.endStructure();
    return from; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus's form
}
QDBusArgument& operator<<(QDBusArgument& to, const StatusNotifierToolTip& tip) {
    to.beginStructure();
    to << tip.iconName << tip.pixmaps << tip.title << tip.text;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, StatusNotifierToolTip& tip) {
    from.beginStructure();
    from >> tip.iconName >> tip.pixmaps >> tip.title >> tip.text;
    from.endStructure();
    return from; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus's form
}

StatusNotifierObject::StatusNotifierObject() {
    qDBusRegisterMetaType<StatusNotifierPixmap>();
    qDBusRegisterMetaType<StatusNotifierPixmaps>();
    qDBusRegisterMetaType<StatusNotifierToolTip>();
}

void StatusNotifierObject::setPictures(StatusNotifierPixmaps pixmaps, const QString& iconName) {
    pixmaps_ = std::move(pixmaps);
    iconName_ = iconName;
    Q_EMIT NewIcon();
}

void StatusNotifierObject::setLabel(const QString& label) {
    label_ = label;
    Q_EMIT NewTitle();
    Q_EMIT NewToolTip();
}

void StatusNotifierObject::Activate(int x, int y) { Q_EMIT activated(QPoint(x, y)); }

// The icon has no menu; whoever asks for one gets what there is.
void StatusNotifierObject::ContextMenu(int x, int y) { Q_EMIT activated(QPoint(x, y)); }

void StatusNotifierObject::SecondaryActivate(int, int) {}

void StatusNotifierObject::Scroll(int, const QString&) {}

} // namespace vennic
