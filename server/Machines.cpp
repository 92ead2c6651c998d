#include "server/Machines.h"

#include "server/Database.h"
#include "server/HttpError.h"

namespace vennic::server {

namespace {
constexpr qint64 mostMachines = 100;

Machine machine(const Query& row) {
    Machine found;
    found.key = {row.integer(0), row.text(1)};
    found.nickname = row.text(2);
    if (!row.isNull(3))
        found.heartbeat = row.bytes(3);
    found.lastSeenAt = row.integer(4);
    found.token = row.integer(5);
    return found;
}
} // namespace

void Machines::seen(const Machine& machine) {
    noteMachine(machine);
    // Mostly there already, which costs no write.
    database_.run("INSERT OR IGNORE INTO machine_tokens(account_id, device_id, token_id) VALUES(?, ?, ?)",
                  machine.key.account, machine.key.device, machine.token);
}

void Machines::noteMachine(const Machine& machine) {
    if (database_.run("UPDATE machines SET nickname = ?, heartbeat = ?, last_seen_at = ?, token_id = ? WHERE "
                      "account_id = ? AND device_id = ?",
                      machine.nickname, machine.heartbeat, machine.lastSeenAt, machine.token, machine.key.account,
                      machine.key.device) > 0)
        return;
    Query count = database_.query("SELECT count(*) FROM machines WHERE account_id = ?", machine.key.account);
    count.next();
    if (count.integer(0) >= mostMachines)
        throw HttpError(403, QStringLiteral("Ce compte a déjà trop de machines. Retires-en une."));
    database_.run("INSERT INTO machines(account_id, device_id, nickname, heartbeat, last_seen_at, token_id) "
                  "VALUES(?, ?, ?, ?, ?, ?)",
                  machine.key.account, machine.key.device, machine.nickname, machine.heartbeat, machine.lastSeenAt,
                  machine.token);
}

QList<Machine> Machines::all(qint64 account) {
    QList<Machine> found;
    Query query = database_.query("SELECT account_id, device_id, nickname, heartbeat, last_seen_at, token_id FROM "
                                  "machines WHERE account_id = ? ORDER BY nickname, device_id",
                                  account);
    while (query.next())
        found.append(machine(query));
    return found;
}

std::optional<Machine> Machines::find(const DeviceKey& key) {
    Query query = database_.query("SELECT account_id, device_id, nickname, heartbeat, last_seen_at, token_id FROM "
                                  "machines WHERE account_id = ? AND device_id = ?",
                                  key.account, key.device);
    return query.next() ? std::optional(machine(query)) : std::nullopt;
}

QList<qint64> Machines::tokens(const DeviceKey& key) {
    QList<qint64> found;
    Query query = database_.query("SELECT token_id FROM machine_tokens WHERE account_id = ? AND device_id = ?",
                                  key.account, key.device);
    while (query.next())
        found.append(query.integer(0));
    return found;
}

void Machines::forget(const DeviceKey& key) {
    database_.run("DELETE FROM machine_tokens WHERE account_id = ? AND device_id = ?", key.account, key.device);
    database_.run("DELETE FROM machines WHERE account_id = ? AND device_id = ?", key.account, key.device);
}

} // namespace vennic::server
