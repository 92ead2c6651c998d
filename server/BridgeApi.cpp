#include "server/BridgeApi.h"

#include "server/HttpError.h"
#include "server/JsonText.h"
#include "server/Machines.h"
#include "server/Router.h"
#include "server/TaskDesk.h"

#include <QJsonDocument>

#include <algorithm>

namespace vennic::server {

namespace {
constexpr std::size_t mebibyte = std::size_t{1024} * 1024;
constexpr qsizetype longestDeviceId = 200;
constexpr qsizetype longestNickname = 200;
constexpr qsizetype longestHeartbeat = 32'768;

DeviceKey deviceOf(const Call& call) {
    const QString device = QString::fromUtf8(call.head.field("x-bridge-device-id"));
    const bool unprintable = std::any_of(device.begin(), device.end(), [](QChar c) { return !c.isPrint(); });
    if (device.isEmpty() || device.size() > longestDeviceId || unprintable)
        throw HttpError(400, QStringLiteral("L'en-tête X-Bridge-Device-Id manque ou n'est pas lisible."));
    return {call.caller.account, device};
}

// A heartbeat only tells; a damaged one must not keep the machine from its tasks.
QByteArray heartbeatOf(const Call& call) {
    const QByteArray text = call.head.field("x-bridge-heartbeat");
    if (text.isEmpty() || text.size() > longestHeartbeat)
        return {};
    try {
        return jsonText(jsonObject({text.constData(), static_cast<std::size_t>(text.size())}));
    } catch (const HttpError&) {
        return {};
    }
}

Response taskResponse(const TaskRecord& task) {
    QByteArray body = "{\"id\":" + jsonLiteral(task.id) + ",\"kind\":" + jsonLiteral(task.kind);
    if (!task.args.isNull())
        body += ",\"args\":" + task.args;
    return jsonResponse(200, body + '}');
}

void nextTask(Machines& machines, TaskDesk& tasks, const TimeKeeper& time, const Call& call) {
    const DeviceKey key = deviceOf(call);
    machines.seen({key, QString::fromUtf8(call.head.field("x-bridge-device-nickname")).left(longestNickname),
                   heartbeatOf(call), time.wallMs(), call.caller.token});
    const auto wait = std::chrono::seconds{std::clamp<qint64>(call.head.number("wait", 25), 1, 30)};
    const quint64 poll = tasks.poll(key, call.caller.token, wait, [exchange = call.exchange](PollEnd end) {
        if (end.why == PollEnd::Why::Nothing)
            return exchange->respond(emptyResponse());
        if (end.why == PollEnd::Why::Revoked)
            return exchange->respond(
                errorResponse(HttpError(401, QStringLiteral("Le jeton est absent ou n'est plus valable."))));
        Response response = taskResponse(end.task);
        response.ended = std::move(end.written);
        exchange->respond(std::move(response));
    });
    call.exchange->onGone([&tasks, poll] { tasks.abandon(poll); });
}

void updateTask(TaskDesk& tasks, const Call& call) {
    const DeviceKey key = deviceOf(call);
    const QString& id = call.parameters.constFirst();
    const QJsonObject body = jsonObject(call.body);
    const QString status = body.value(QLatin1String("status")).toString();
    if (status == QLatin1String("streaming")) {
        const QJsonValue delta = body.value(QLatin1String("delta"));
        if (!delta.isString())
            throw HttpError(422, QStringLiteral("Le champ « delta » doit être un texte."));
        tasks.streamed(key, id, delta.toString());
    } else if (status == QLatin1String("done")) {
        const QJsonValue result = body.value(QLatin1String("result"));
        if (!result.isObject())
            throw HttpError(422, QStringLiteral("Le champ « result » doit être un objet."));
        tasks.succeeded(key, id, jsonText(result.toObject()), call.head.arrived);
    } else if (status == QLatin1String("error")) {
        const QJsonValue message = body.value(QLatin1String("error_message"));
        if (!message.isString())
            throw HttpError(422, QStringLiteral("Le champ « error_message » doit être un texte."));
        tasks.failed(key, id, message.toString(), call.head.arrived);
    } else {
        throw HttpError(422, QStringLiteral("Le champ « status » vaut \"streaming\", \"done\" ou \"error\"."));
    }
    call.exchange->respond(emptyResponse());
}

// The machine doesn't send its answer again; without this its task would wait for nothing.
void refuseAnswer(TaskDesk& tasks, const Call& call) {
    tasks.failed(deviceOf(call), call.parameters.constFirst(),
                 QStringLiteral("La réponse de la machine dépasse %1 Mio.").arg(longestAnswer / mebibyte),
                 call.head.arrived);
}
} // namespace

void addBridgeRoutes(Router& router, Machines& machines, TaskDesk& tasks, const TimeKeeper& time) {
    router.add("GET", "/api/v1/bridge/tasks/next", Access::Client, 0,
               [&machines, &tasks, &time](const Call& call) { nextTask(machines, tasks, time, call); });
    router.add(
        "PATCH", "/api/v1/bridge/tasks/*", Access::Client, longestAnswer,
        [&tasks](const Call& call) { updateTask(tasks, call); },
        [&tasks](const Call& call) { refuseAnswer(tasks, call); });
}

} // namespace vennic::server
