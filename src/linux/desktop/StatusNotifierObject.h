#pragma once
#include "ports/StatusItem.h"

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QList>
#include <QMetaType>
#include <QObject>

namespace vennic {

/// A picture as the bus carries it: ARGB32, not premultiplied, in network byte order.
struct StatusNotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes;
};
using StatusNotifierPixmaps = QList<StatusNotifierPixmap>;
struct StatusNotifierToolTip {
    QString iconName;
    StatusNotifierPixmaps pixmaps;
    QString title;
    QString text;
};
QDBusArgument& operator<<(QDBusArgument& to, const StatusNotifierPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& from, StatusNotifierPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& to, const StatusNotifierToolTip& tip);
const QDBusArgument& operator>>(const QDBusArgument& from, StatusNotifierToolTip& tip);

/// The object that a status bar reads and calls, by the StatusNotifierItem specification of freedesktop.org.
class StatusNotifierObject final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(QString IconThemePath READ none)
    Q_PROPERTY(vennic::StatusNotifierPixmaps IconPixmap READ pixmaps)
    Q_PROPERTY(QString IconAccessibleDesc READ description)
    Q_PROPERTY(QString OverlayIconName READ none)
    Q_PROPERTY(vennic::StatusNotifierPixmaps OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ none)
    Q_PROPERTY(vennic::StatusNotifierPixmaps AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionMovieName READ none)
    Q_PROPERTY(vennic::StatusNotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    StatusNotifierObject();

    static QString path() { return QStringLiteral("/StatusNotifierItem"); }

    void setPictures(StatusNotifierPixmaps pixmaps, const QString& iconName);
    void setLabel(const QString& label);

    static QString category() { return QStringLiteral("ApplicationStatus"); }
    static QString id() { return QStringLiteral("com.vennic.desktop"); }
    QString title() const { return label_; }
    static QString status() { return QStringLiteral("Active"); }
    static int windowId() { return 0; }
    QString iconName() const { return iconName_; }
    StatusNotifierPixmaps pixmaps() const { return pixmaps_; }
    QString description() const { return label_; }
    StatusNotifierToolTip toolTip() const { return {.iconName = {}, .pixmaps = {}, .title = label_, .text = {}}; }
    static QString none() { return {}; }
    static StatusNotifierPixmaps noPixmaps() { return {}; }
    static bool itemIsMenu() { return false; }
    static QDBusObjectPath menu() { return QDBusObjectPath(QStringLiteral("/NO_DBUSMENU")); }

public Q_SLOTS:
    // In global device pixels, where the bar wants something to come up.
    Q_SCRIPTABLE void Activate(int x, int y);                        // NOLINT(readability-identifier-naming)
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);               // NOLINT(readability-identifier-naming)
    Q_SCRIPTABLE void ContextMenu(int x, int y);                     // NOLINT(readability-identifier-naming)
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation); // NOLINT(readability-identifier-naming)

Q_SIGNALS:
    Q_SCRIPTABLE void NewIcon();    // NOLINT(readability-identifier-naming)
    Q_SCRIPTABLE void NewTitle();   // NOLINT(readability-identifier-naming)
    Q_SCRIPTABLE void NewToolTip(); // NOLINT(readability-identifier-naming)
    void activated(QPoint place);

private:
    QString label_;
    QString iconName_;
    StatusNotifierPixmaps pixmaps_;
};

} // namespace vennic

Q_DECLARE_METATYPE(vennic::StatusNotifierPixmap)
Q_DECLARE_METATYPE(vennic::StatusNotifierToolTip)
