#include "server/CompletionReader.h"

#include "base/Json.h"
#include "server/MarkdownText.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qsizetype longestName = 200;

ModelError tooLong() { return ModelError(QStringLiteral("La réponse du modèle est trop longue.")); }

void append(QString& whole, const QJsonValue& piece, qsizetype longest) {
    const QString more = piece.toString();
    if (whole.size() + more.size() > longest)
        throw tooLong();
    whole += more;
}
} // namespace

QString CompletionReader::feed(QByteArrayView bytes) {
    const qsizetype before = text_.size();
    try {
        // A line's worth at a time, so that many lines at once aren't taken for a long one.
        for (qsizetype at = 0; at < bytes.size() && !over_; at += mostLineBytes) {
            lines_.feed(bytes.sliced(at, std::min(mostLineBytes, bytes.size() - at)));
            while (const auto line = over_ ? std::nullopt : lines_.next())
                takeLine(*line);
            if (!over_ && lines_.overflowed())
                throw tooLong();
        }
    } catch (const ModelError& error) {
        error_ = error;
        over_ = true;
    }
    return text_.mid(before);
}

void CompletionReader::takeLine(const QByteArray& line) {
    static constexpr QByteArrayView prefix("data:");
    if (!line.startsWith(prefix))
        return;
    const QByteArray data = line.mid(prefix.size()).trimmed();
    if (data == "[DONE]") {
        readable_ = concluded_ = over_ = true;
        return;
    }
    QJsonObject chunk;
    try {
        chunk = parseJsonObject(data);
    } catch (const DecodingError&) {
        return;
    }
    takeChunk(chunk);
}

void CompletionReader::takeChunk(const QJsonObject& chunk) {
    if (const QJsonValue error = chunk.value(QLatin1String("error")); !error.isUndefined() && !error.isNull()) {
        const QString words = error.isString() ? error.toString() : error[QLatin1String("message")].toString();
        throw ModelError(QStringLiteral("Le modèle a signalé une erreur : %1").arg(briefForeign(words)));
    }
    const QJsonValue choices = chunk.value(QLatin1String("choices"));
    if (!choices.isArray())
        return;
    readable_ = true;
    const QJsonValue choice = choices[0];
    const QJsonValue delta = choice[QLatin1String("delta")];
    append(text_, delta[QLatin1String("content")], longestModelText);
    takeCalls(delta[QLatin1String("tool_calls")].toArray());
    if (!choice[QLatin1String("finish_reason")].toString().isEmpty())
        concluded_ = true;
}

void CompletionReader::takeCalls(const QJsonArray& fragments) {
    for (const QJsonValue fragment : fragments) {
        // Some servers send each call whole and without an index.
        const qint64 index = fragment[QLatin1String("index")].toInteger(static_cast<qint64>(calls_.size()));
        if (!calls_.contains(index) && calls_.size() >= mostToolCalls)
            continue;
        ToolCall& call = calls_[index];
        const QJsonValue function = fragment[QLatin1String("function")];
        if (const QString id = fragment[QLatin1String("id")].toString(); !id.isEmpty())
            call.id = id.left(longestName);
        append(call.name, function[QLatin1String("name")], longestName);
        append(call.arguments, function[QLatin1String("arguments")], longestToolArguments);
    }
}

ModelRound CompletionReader::round() const {
    if (error_)
        throw *error_;
    if (!readable_)
        throw ModelError(QStringLiteral("La réponse du serveur du modèle n'est pas lisible."));
    ModelRound round{text_, {}};
    for (const auto& [index, call] : calls_)
        round.calls.append(call);
    return round;
}

} // namespace vennic::server
