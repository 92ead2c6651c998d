#pragma once
#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

#include <chrono>

namespace vennic {

/// A connection of one's own to a message bus, opened when it is needed and again when the bus has gone and come
/// back (Qt's shared connections never do). Never starts a bus. Main thread only.
class DBusLink {
public:
    enum class Bus { session, system };

    explicit DBusLink(Bus bus);
    DBusLink(const DBusLink&) = delete;
    DBusLink& operator=(const DBusLink&) = delete;
    ~DBusLink();

    /// Calls and waits without running the event loop. Without a bus the reply is the error Disconnected.
    QDBusMessage call(const QString& service, const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments, std::chrono::milliseconds timeout);
    /// The connection, opened if it can be.
    QDBusConnection connection();

private:
    Bus bus_;
    QString name_;
};

/// Whether an error reply says that nobody stands behind the service: no bus, no owner, none that could be started.
bool meansNobodyAnswers(const QDBusMessage& reply);

} // namespace vennic
