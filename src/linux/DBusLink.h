#pragma once
#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

#include <chrono>
#include <mutex>
#include <stop_token>

namespace vennic {

/// A connection of one's own to a message bus, opened when it is needed and again when the bus has gone and come
/// back (Qt's shared connections never do). Never starts a bus. From any thread.
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
    /// As `call`, and gives the error NoReply as soon as `stop` is told to stop. Runs an event loop meanwhile where the
    /// token can be told: not for the main thread then.
    QDBusMessage call(const QString& service, const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments, std::chrono::milliseconds timeout, const std::stop_token& stop);
    /// Calls without waiting for anything.
    void send(const QString& service, const QString& path, const QString& interface, const QString& method,
              const QVariantList& arguments);
    /// Where the bus is, by the environment and the D-Bus Specification; empty for none.
    static QString addressOf(Bus bus);
    /// The connection, opened if it can be. A bus that takes connections and never answers holds it up for libdbus's
    /// 25 seconds.
    QDBusConnection connection();

private:
    Bus bus_;
    QString name_;
    std::mutex opening_;
};

/// Whether an error reply says that nobody stands behind the service: no bus, no owner, none that could be started.
bool meansNobodyAnswers(const QDBusMessage& reply);

} // namespace vennic
