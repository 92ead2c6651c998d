#pragma once
#include "server/TaskRecord.h"

#include <QList>

namespace vennic::server {

class Database;

struct Machine {
    DeviceKey key;
    QString nickname;
    QByteArray heartbeat; // a JSON object, or null
    qint64 lastSeenAt = 0;
    qint64 token = 0; // with which it came last
};

/// The machines that have polled.
class Machines {
public:
    explicit Machines(Database& database) : database_(database) {}
    /// Notes what a poll said of its machine. Raises HttpError 403 for one machine more than an account may have.
    void seen(const Machine& machine);
    QList<Machine> all(qint64 account);
    std::optional<Machine> find(const DeviceKey& key);
    /// All that the machine has come with, also those that were revoked since.
    QList<qint64> tokens(const DeviceKey& key);
    void forget(const DeviceKey& key);

private:
    void noteMachine(const Machine& machine);

    Database& database_;
};

} // namespace vennic::server
