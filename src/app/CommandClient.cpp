#include "app/CommandClient.h"

#include "app/CommandMessage.h"
#include "app/Doctor.h"
#include "base/LocalizedError.h"
#include "linux/Terminal.h"

#include <QDir>
#include <QJsonDocument>

namespace vennic {

namespace {

constexpr auto patience = std::chrono::seconds{90};         // the pairing call may take 80
constexpr auto askPatience = std::chrono::seconds{970};     // an answer may stream for 960
constexpr qsizetype maxRequestBytes = qsizetype{64} * 1024; // what the client reads of a request

CommandRequest requestOf(const CommandLine& line) {
    CommandRequest request{*line.verb, line.arguments, {}};
    // Paths are relative to where the user stands, which only this process knows.
    if (request.verb == QLatin1String("share")) {
        for (QString& path : request.arguments)
            path = QDir::cleanPath(QDir::current().absoluteFilePath(path));
    }
    if (request.verb == QLatin1String("token"))
        request.secret = readSecretLine(QStringLiteral("Jeton : "));
    return request;
}

/// Data and reports go to standard output whatever they say; a bare reason of failure goes to standard error.
ExitStatus print(const CommandAnswer& answer, bool json) {
    const bool report = answer.status == ExitStatus::done || !answer.data.isEmpty();
    if (!report)
        writeError(answer.text + QLatin1Char('\n'));
    else if (json)
        writeOutput(QString::fromUtf8(QJsonDocument(answer.data).toJson(QJsonDocument::Indented)));
    else if (!answer.text.isEmpty())
        writeOutput(answer.text + QLatin1Char('\n'));
    return answer.status;
}

} // namespace

ExitStatus runVerb(const CommandLine& line, const Paths& paths, Instance& instance) {
    try {
        if (*line.verb == QLatin1String("doctor"))
            return print(examine(paths, instance), line.json);
        const QByteArray request = encodeCommandRequest(requestOf(line));
        if (request.size() > maxRequestBytes) {
            writeError(QStringLiteral("La ligne de commande est trop longue.\n"));
            return ExitStatus::usage;
        }
        const auto answer = instance.ask(request, *line.verb == QLatin1String("ask") ? askPatience : patience);
        if (!answer) {
            writeError(QStringLiteral("Vennic ne tourne pas. Lance « vennic » d'abord.\n"));
            return ExitStatus::noClient;
        }
        const auto decoded = decodeCommandAnswer(*answer);
        if (!decoded)
            throw LocalizedError(QStringLiteral("Vennic a donné une réponse incompréhensible."));
        return print(*decoded, line.json);
    } catch (const LocalizedError& error) {
        writeError(error.errorDescription() + QLatin1Char('\n'));
        return ExitStatus::failed;
    }
}

} // namespace vennic
