#include "server/AnsweringApi.h"

#include "server/AnswerChoices.h"
#include "server/ChosenAnswering.h"
#include "server/HttpError.h"
#include "server/JsonText.h"
#include "server/ModelAddress.h"
#include "server/Router.h"

namespace vennic::server {

namespace {
constexpr std::size_t smallBody = std::size_t{16} * 1024;

/// Without the key, which never leaves the server again.
QByteArray choiceJson(const AnswerChoice& choice, ChosenBy by) {
    return jsonText({{QStringLiteral("who"), nameOf(choice.who)},
                     {QStringLiteral("url"), choice.url},
                     {QStringLiteral("model"), choice.model},
                     {QStringLiteral("has_key"), !choice.key.isEmpty()},
                     {QStringLiteral("fixed"), by == ChosenBy::CommandLine}});
}

QString word(const QJsonObject& body, QLatin1String key) {
    const QJsonValue value = body.value(key);
    if (!value.isUndefined() && !value.isNull() && !value.isString())
        throw HttpError(422, QStringLiteral("Le champ « %1 » doit être un texte.").arg(key));
    return value.toString().trimmed();
}

/// A key was given for one place, and goes to no other.
bool isSamePlace(const AnswerChoice& kept, const ModelAddress& address) {
    if (kept.url.isEmpty())
        return false;
    const ModelAddress before = modelAddress(kept.url);
    return before.tls == address.tls && before.host == address.host && before.port == address.port;
}

/// Raises HttpError 422 and LocalizedError.
AnswerChoice choiceOf(const QJsonObject& body, const AnswerChoice& kept) {
    AnswerChoice choice = kept;
    const auto who = answererNamed(word(body, QLatin1String("who")));
    if (!who)
        throw HttpError(422, QStringLiteral("Le champ « who » vaut \"simple\", \"server\" ou \"machine\"."));
    choice.who = *who;
    if (choice.who != Answerer::Server)
        return choice;
    choice.url = word(body, QLatin1String("url"));
    choice.model = modelName(word(body, QLatin1String("model")));
    const ModelAddress address = modelAddress(choice.url);
    if (const QString key = word(body, QLatin1String("key")); !key.isEmpty())
        choice.key = modelKey(SecretText(key.toUtf8()));
    else if (body.contains(QLatin1String("key")) || !isSamePlace(kept, address))
        choice.key = {};
    return choice;
}

void choose(ChosenAnswering& answering, AnswerChoices& choices, const Call& call) {
    AnswerChoice choice;
    try {
        choice = choiceOf(jsonObject(call.body), answering.choice());
    } catch (const HttpError&) {
        throw;
    } catch (const LocalizedError& error) {
        throw HttpError(422, error.errorDescription());
    }
    choices.keep(choice);
    answering.choose(choice);
    call.exchange->respond(jsonResponse(200, choiceJson(choice, ChosenBy::Owner)));
}
} // namespace

void addAnsweringRoutes(Router& router, ChosenAnswering& answering, AnswerChoices& choices, ChosenBy by) {
    router.add("GET", "/owner/answering", Access::Owner, 0, [&answering, by](const Call& call) {
        call.exchange->respond(jsonResponse(200, choiceJson(answering.choice(), by)));
    });
    router.add("PUT", "/owner/answering", Access::Owner, smallBody, [&answering, &choices, by](const Call& call) {
        if (by == ChosenBy::CommandLine)
            throw HttpError(409, QStringLiteral("Les options de démarrage du serveur ont choisi qui répond."));
        choose(answering, choices, call);
    });
}

} // namespace vennic::server
