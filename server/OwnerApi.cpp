#include "server/OwnerApi.h"

#include "server/HttpError.h"
#include "server/JsonText.h"
#include "server/Machines.h"
#include "server/OwnerGate.h"
#include "server/PairingDesk.h"
#include "server/Router.h"
#include "server/TaskDesk.h"
#include "server/TaskJson.h"
#include "server/TaskKind.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr std::size_t smallBody = std::size_t{16} * 1024;
constexpr qsizetype longestWord = 200;
constexpr qint64 longestWaitSeconds = 60;

TaskRecord ownTask(TaskStore& store, const QString& id) {
    auto task = store.find(id);
    if (!task || task->key.account != ownerAccount)
        throw HttpError(404, QStringLiteral("Cette tâche n'existe pas."));
    return *std::move(task);
}

QByteArray currentJson(TaskStore& store, const QString& id) {
    const TaskRecord task = ownTask(store, id);
    return taskJson(task, store.deltas(task));
}

void openPairing(PairingDesk& pairings, const Call& call) {
    const Pairing pairing = pairings.open(ownerAccount);
    call.exchange->respond(jsonResponse(201, jsonText({{QStringLiteral("code"), pairing.code},
                                                       {QStringLiteral("expires_at"), isoMoment(pairing.expiresAt)}})));
}

void pairingState(PairingDesk& pairings, const Call& call) {
    const PairingState state = pairings.state(ownerAccount, call.parameters.constFirst());
    const auto word = state == PairingState::Waiting   ? QStringLiteral("waiting")
                      : state == PairingState::Claimed ? QStringLiteral("claimed")
                                                       : QStringLiteral("expired");
    call.exchange->respond(jsonResponse(200, jsonText({{QStringLiteral("state"), word}})));
}

void listMachines(const OwnerDesks& desks, const Call& call) {
    QByteArray body = "[";
    for (const Machine& machine : desks.machines.all(ownerAccount)) {
        if (body.size() > 1)
            body += ',';
        body += "{\"device_id\":" + jsonLiteral(machine.key.device) + ",\"nickname\":" + jsonLiteral(machine.nickname) +
                ",\"last_seen_at\":" + jsonLiteral(isoMoment(machine.lastSeenAt)) +
                ",\"connected\":" + (desks.tasks.isPolling(machine.key) ? "true" : "false") +
                ",\"heartbeat\":" + (machine.heartbeat.isNull() ? QByteArray("null") : machine.heartbeat) + '}';
    }
    call.exchange->respond(jsonResponse(200, body + ']'));
}

void removeMachine(const OwnerDesks& desks, const Call& call) {
    const DeviceKey key{ownerAccount, call.parameters.constFirst()};
    if (!desks.machines.find(key))
        throw HttpError(404, QStringLiteral("Cette machine n'existe pas."));
    // With a token that still holds, an older one after a new pairing too, it would be back with its next poll.
    const QList<qint64> tokens = desks.machines.tokens(key);
    for (const qint64 token : tokens)
        desks.accounts.revoke(token);
    desks.machines.forget(key);
    desks.tasks.dismiss(key);
    for (const qint64 token : tokens)
        desks.tasks.endPolls(token);
    call.exchange->respond(emptyResponse());
}

void submitTask(const OwnerDesks& desks, const Call& call) {
    const QJsonObject body = jsonObject(call.body);
    const QString device = body.value(QLatin1String("device_id")).toString();
    const QString kind = body.value(QLatin1String("kind")).toString();
    const QJsonValue args = body.value(QLatin1String("args"));
    const bool unchecked = body.value(QLatin1String("unchecked")).toBool();
    if (device.isEmpty() || device.size() > longestWord)
        throw HttpError(422, QStringLiteral("Le champ « device_id » doit nommer une machine."));
    if (kind.isEmpty() || kind.size() > longestWord || (!unchecked && !isTaskKind(kind)))
        throw HttpError(422, QStringLiteral("Ce genre de tâche n'existe pas."));
    if (!args.isUndefined() && !args.isObject())
        throw HttpError(422, QStringLiteral("Le champ « args » doit être un objet."));
    const DeviceKey key{ownerAccount, device};
    if (!unchecked && !desks.machines.find(key))
        throw HttpError(404, QStringLiteral("Cette machine n'existe pas."));
    const TaskRecord task = desks.tasks.submit(key, kind, args.isObject() ? jsonText(args.toObject()) : QByteArray{});
    call.exchange->respond(jsonResponse(201, taskJson(task, {})));
}

void listTasks(TaskStore& store, const Call& call) {
    const qint64 limit = std::clamp<qint64>(call.head.number("limit", 20), 1, 200);
    QByteArray body = "[";
    for (const TaskRecord& task : store.newest(ownerAccount, limit)) {
        if (body.size() > 1)
            body += ',';
        body += taskSummaryJson(task);
    }
    call.exchange->respond(jsonResponse(200, body + ']'));
}

/// A GET that waits for its task's end.
struct Waiting {
    std::shared_ptr<Exchange> exchange;
    TimeKeeper::Timer limit;
    std::shared_ptr<void> watch;
};

void answerNow(TaskStore& store, const std::shared_ptr<Waiting>& waiting, const QString& id) {
    const auto exchange = std::exchange(waiting->exchange, nullptr);
    waiting->limit.reset();
    waiting->watch.reset();
    if (!exchange)
        return;
    try {
        exchange->respond(jsonResponse(200, currentJson(store, id)));
    } catch (const std::exception& error) {
        exchange->respond(errorResponse(error));
    }
}

void showTask(const OwnerDesks& desks, const Call& call) {
    const QString id = call.parameters.constFirst();
    const qint64 seconds = std::clamp<qint64>(call.head.number("wait", 0), 0, longestWaitSeconds);
    if (seconds == 0 || isFinished(ownTask(desks.store, id).state))
        return call.exchange->respond(jsonResponse(200, currentJson(desks.store, id)));
    auto waiting = std::make_shared<Waiting>();
    waiting->exchange = call.exchange;
    waiting->limit = desks.time.after(std::chrono::seconds{seconds},
                                      [&store = desks.store, waiting, id] { answerNow(store, waiting, id); });
    waiting->watch = desks.tasks.watch(id, [&store = desks.store, waiting, id](const QString* delta) {
        if (delta)
            return;
        const auto task = store.find(id);
        if (!task || isFinished(task->state))
            answerNow(store, waiting, id);
    });
    call.exchange->onGone([waiting] {
        waiting->exchange.reset();
        waiting->limit.reset();
        waiting->watch.reset();
    });
}

/// A reader of one task's events.
struct Reading {
    std::shared_ptr<Exchange> exchange;
    std::shared_ptr<void> watch;
};

void showEvents(const OwnerDesks& desks, const Call& call) {
    const QString id = call.parameters.constFirst();
    const TaskRecord now = ownTask(desks.store, id);
    call.exchange->startEvents();
    call.exchange->sendEvent("task", taskJson(now, desks.store.deltas(now)));
    if (isFinished(now.state))
        return call.exchange->endEvents();
    auto reading = std::make_shared<Reading>();
    reading->exchange = call.exchange;
    call.exchange->onGone([reading] {
        reading->watch.reset();
        reading->exchange.reset();
    });
    reading->watch = desks.tasks.watch(id, [&store = desks.store, reading, id](const QString* delta) {
        if (!reading->exchange)
            return;
        if (delta)
            return reading->exchange->sendEvent("delta", "{\"delta\":" + jsonLiteral(*delta) + "}");
        const auto task = store.find(id);
        if (task)
            reading->exchange->sendEvent("task", taskJson(*task, store.deltas(*task)));
        if (task && !isFinished(task->state))
            return;
        const auto exchange = std::exchange(reading->exchange, nullptr);
        reading->watch.reset();
        exchange->endEvents();
    });
}

void addSessionRoutes(Router& router, OwnerGate& gate) {
    router.add("POST", "/console/session", Access::Anyone, smallBody, [&gate](const Call& call) {
        const QString key = jsonObject(call.body).value(QLatin1String("owner_key")).toString();
        if (!gate.isOwnerKey(key.trimmed().toUtf8()))
            throw HttpError(401, QStringLiteral("La clé du propriétaire n'est pas la bonne."));
        Response response = emptyResponse();
        response.fields.emplaceBack("Set-Cookie", gate.openSession());
        call.exchange->respond(std::move(response));
    });
    router.add("DELETE", "/console/session", Access::Owner, smallBody, [&gate](const Call& call) {
        Response response = emptyResponse();
        response.fields.emplaceBack("Set-Cookie", gate.closeSession(call.head));
        call.exchange->respond(std::move(response));
    });
}
} // namespace

void addOwnerRoutes(Router& router, const OwnerDesks& desks) {
    router.add("POST", "/owner/pairings", Access::Owner, smallBody,
               [&pairings = desks.pairings](const Call& call) { openPairing(pairings, call); });
    router.add("GET", "/owner/pairings/*", Access::Owner, smallBody,
               [&pairings = desks.pairings](const Call& call) { pairingState(pairings, call); });
    router.add("GET", "/owner/machines", Access::Owner, smallBody,
               [desks](const Call& call) { listMachines(desks, call); });
    router.add("DELETE", "/owner/machines/*", Access::Owner, smallBody,
               [desks](const Call& call) { removeMachine(desks, call); });
    router.add("POST", "/owner/tasks", Access::Owner, Router::usualBody,
               [desks](const Call& call) { submitTask(desks, call); });
    router.add("GET", "/owner/tasks", Access::Owner, smallBody,
               [&store = desks.store](const Call& call) { listTasks(store, call); });
    router.add("GET", "/owner/tasks/*", Access::Owner, smallBody, [desks](const Call& call) { showTask(desks, call); });
    router.add("GET", "/owner/tasks/*/events", Access::Owner, smallBody,
               [desks](const Call& call) { showEvents(desks, call); });
    addSessionRoutes(router, desks.gate);
}

} // namespace vennic::server
