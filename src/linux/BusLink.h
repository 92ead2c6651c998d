#pragma once
#include <QDBusConnection>
#include <QDBusMessage>

#include <chrono>
#include <optional>

namespace vennic {

/// A connection to a message bus that belongs to its owner alone. It is made at the first call and made again when
/// the bus went away, which the connections that a process shares never are. A missing bus is noticed at once and
/// none is started.
class BusLink {
public:
    enum class Bus { session, system };

    explicit BusLink(Bus bus);
    ~BusLink();
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    /// The connection, opened if need be; none when no bus answers at the bus's address.
    std::optional<QDBusConnection> connection();
    /// Calls a method and waits for the answer, at most `patience`. Without a bus the answer is an error message of
    /// the name org.freedesktop.DBus.Error.Disconnected, as for a call that the bus's end cut off.
    QDBusMessage call(const QDBusMessage& message, std::chrono::milliseconds patience);

private:
    Bus bus_;
    QString name_; // of the connection, in Qt's table
};

} // namespace vennic
