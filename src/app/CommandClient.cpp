#include "app/CommandClient.h"

#include "app/Application.h"
#include "app/Autostart.h"
#include "app/CommandMessage.h"
#include "app/Doctor.h"
#include "app/LocalRuntime.h"
#include "app/RuntimeVerbs.h"
#include "backend/Deployment.h"
#include "base/LocalizedError.h"
#include "linux/Terminal.h"

#include <QDir>
#include <QJsonDocument>

namespace vennic {

namespace {

constexpr auto patience = std::chrono::seconds{90};
/// A pairing call may take 80 seconds; then the keyring may have its user unlock it, for two minutes, first to let go
/// of the old token and again to take the new one.
constexpr auto credentialPatience = std::chrono::minutes{6};
constexpr auto replyPatience = std::chrono::seconds{970};   // a reply may stream for 960
constexpr qsizetype maxRequestBytes = qsizetype{64} * 1024; // what the client reads of a request

std::chrono::milliseconds patienceWith(const QString& verb) {
    const bool writesCredentials =
        verb == QLatin1String("pair") || verb == QLatin1String("token") || verb == QLatin1String("sign-out");
    if (verb == QLatin1String("ask"))
        return replyPatience;
    return writesCredentials ? std::chrono::milliseconds{credentialPatience} : patience;
}

CommandRequest requestOf(const QString& verb, const CommandLine& line) {
    CommandRequest request{.verb = verb, .arguments = line.arguments, .secret = {}, .local = line.local};
    // Paths are relative to where the user stands, which only this process knows.
    if (request.verb == QLatin1String("share")) {
        for (QString& path : request.arguments)
            path = QDir::cleanPath(QDir::current().absoluteFilePath(path));
    }
    if (request.verb == QLatin1String("token"))
        request.secret = readSecretLine(QStringLiteral("Jeton : "));
    return request;
}

CommandAnswer autostart(const Paths& paths, const QString& word) {
    const Autostart autostart(paths.configuration, paths.client());
    if (word == QLatin1String("on"))
        autostart.turnOn();
    else if (word == QLatin1String("off"))
        autostart.turnOff();
    const bool isOn = autostart.isOn();
    return {ExitStatus::done,
            isOn ? QStringLiteral("Vennic est lancé à l'ouverture de la session.")
                 : QStringLiteral("Vennic n'est pas lancé à l'ouverture de la session."),
            {{QStringLiteral("autostart"), isOn}}};
}

/// Works with and without a running client.
CommandAnswer localRuntime(const Paths& paths, const CommandLine& line) {
    const auto application = makeConsoleApplication();
    const Deployment deployment = Deployment::load(paths.resources + QStringLiteral("/deployment.json"));
    LocalRuntime runtime(paths, deployment.packageManagerSite);
    return runRuntimeVerb(line.arguments, line.json, runtime.installer());
}

} // namespace

ExitStatus printAnswer(const CommandAnswer& answer, bool json) {
    if (json && !answer.data.isEmpty())
        writeOutput(QString::fromUtf8(QJsonDocument(answer.data).toJson(QJsonDocument::Indented)));
    else if (!answer.text.isEmpty())
        writeOutput(answer.text + QLatin1Char('\n'));
    if (!answer.reason.isEmpty())
        writeError(answer.reason + QLatin1Char('\n'));
    return answer.status;
}

ExitStatus runVerb(const CommandLine& line, const Paths& paths, Instance& instance) {
    const QString verb = line.verb.value_or(QString());
    try {
        if (verb == QLatin1String("doctor"))
            return printAnswer(examine(paths, instance), line.json);
        if (verb == QLatin1String("autostart"))
            return printAnswer(autostart(paths, line.arguments.value(0)), line.json);
        if (verb == QLatin1String("model") && isRuntimeVerb(line.arguments))
            return printAnswer(localRuntime(paths, line), line.json);
        const QByteArray request = encodeCommandRequest(requestOf(verb, line));
        if (request.size() > maxRequestBytes) {
            writeError(QStringLiteral("La ligne de commande est trop longue.\n"));
            return ExitStatus::usage;
        }
        const auto answer = instance.ask(request, patienceWith(verb));
        if (!answer) {
            writeError(QStringLiteral("Vennic ne tourne pas. Lance « vennic » d'abord.\n"));
            return ExitStatus::noClient;
        }
        const auto decoded = decodeCommandAnswer(*answer);
        if (!decoded)
            throw LocalizedError(QStringLiteral("Vennic a donné une réponse incompréhensible."));
        return printAnswer(*decoded, line.json);
    } catch (const LocalizedError& error) {
        writeError(error.errorDescription() + QLatin1Char('\n'));
        return ExitStatus::failed;
    }
}

} // namespace vennic
