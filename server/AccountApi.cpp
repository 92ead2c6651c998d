#include "server/AccountApi.h"

#include "server/HttpError.h"
#include "server/JsonText.h"
#include "server/PairingDesk.h"
#include "server/Router.h"
#include "server/TaskDesk.h"

namespace vennic::server {

namespace {
constexpr std::size_t smallBody = std::size_t{16} * 1024; // from anyone, so nobody may make the server hold much
constexpr qsizetype longestWord = 200;

QString requiredWord(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = object.value(key);
    if (!value.isString() || value.toString().isEmpty() || value.toString().size() > longestWord)
        throw HttpError(422, QStringLiteral("Le champ « %1 » doit être un texte court.").arg(key));
    return value.toString();
}

void takeWord(const QJsonObject& object, QLatin1String key, std::optional<QString>& into) {
    if (object.contains(key))
        into = requiredWord(object, key);
}

void takeSwitch(const QJsonObject& object, QLatin1String key, std::optional<qint64>& into) {
    if (!object.contains(key))
        return;
    if (!object.value(key).isBool())
        throw HttpError(422, QStringLiteral("Le champ « %1 » doit être vrai ou faux.").arg(key));
    into = object.value(key).toBool() ? 1 : 0;
}

QByteArray accountJson(const Account& account) {
    QJsonObject object{{QStringLiteral("id"), account.id}, {QStringLiteral("email"), account.email}};
    if (account.default_voice_mode)
        object.insert(QStringLiteral("default_voice_mode"), *account.default_voice_mode);
    if (account.default_provider)
        object.insert(QStringLiteral("default_provider"), *account.default_provider);
    if (account.transcribe_audio)
        object.insert(QStringLiteral("transcribe_audio"), *account.transcribe_audio != 0);
    if (account.audio_output)
        object.insert(QStringLiteral("audio_output"), *account.audio_output != 0);
    if (account.default_audio_voice)
        object.insert(QStringLiteral("default_audio_voice"), *account.default_audio_voice);
    return jsonText(object);
}

void claim(PairingDesk& pairings, const Call& call) {
    const QJsonObject body = jsonObject(call.body);
    const QString code = requiredWord(body, QLatin1String("pairing_code"));
    const QString kind = requiredWord(body, QLatin1String("client_kind"));
    const ClaimedPairing claimed = pairings.claim(code, kind, call.head.remoteAddress);
    call.exchange->respond(
        jsonResponse(200, jsonText({{QStringLiteral("user_token"), QString::fromLatin1(claimed.token)},
                                    {QStringLiteral("email"), claimed.email}})));
}

void changeAccount(Accounts& accounts, const Call& call) {
    if (call.parameters.constFirst() != QString::number(call.caller.account))
        throw HttpError(403, QStringLiteral("Ce compte n'est pas le tien."));
    const QJsonValue user = jsonObject(call.body).value(QLatin1String("user"));
    if (!user.isObject())
        throw HttpError(422, QStringLiteral("Le champ « user » doit être un objet."));
    const QJsonObject changes = user.toObject();
    Account account = accounts.account(call.caller.account);
    takeWord(changes, QLatin1String("default_voice_mode"), account.default_voice_mode);
    if (changes.contains(QLatin1String("default_voice_mode")) && account.default_voice_mode != QLatin1String("ptt") &&
        account.default_voice_mode != QLatin1String("realtime"))
        throw HttpError(422, QStringLiteral("Le champ « default_voice_mode » vaut \"ptt\" ou \"realtime\"."));
    takeWord(changes, QLatin1String("default_provider"), account.default_provider);
    takeSwitch(changes, QLatin1String("transcribe_audio"), account.transcribe_audio);
    takeSwitch(changes, QLatin1String("audio_output"), account.audio_output);
    takeWord(changes, QLatin1String("default_audio_voice"), account.default_audio_voice);
    accounts.update(account);
    call.exchange->respond(jsonResponse(200, accountJson(account)));
}
} // namespace

void addAccountRoutes(Router& router, Accounts& accounts, PairingDesk& pairings, TaskDesk& tasks) {
    router.add("POST", "/api/v1/pairings/claim", Access::Anyone, smallBody,
               [&pairings](const Call& call) { claim(pairings, call); });
    router.add("GET", "/api/v1/me.json", Access::Client, smallBody, [&accounts](const Call& call) {
        call.exchange->respond(jsonResponse(200, accountJson(accounts.account(call.caller.account))));
    });
    for (const char* pattern : {"/users/*.json", "/api/v1/users/*.json"}) {
        router.add("PATCH", pattern, Access::Client, Router::usualBody,
                   [&accounts](const Call& call) { changeAccount(accounts, call); });
    }
    router.add("DELETE", "/api/v1/session", Access::Client, smallBody, [&accounts, &tasks](const Call& call) {
        accounts.revoke(call.caller.token);
        tasks.endPolls(call.caller.token);
        call.exchange->respond(emptyResponse());
    });
}

} // namespace vennic::server
