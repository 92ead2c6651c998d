#include "backend/LocalCompletionStream.h"

#include "base/Json.h"
#include "base/TransportError.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace vennic {

namespace {

constexpr qsizetype mostGathered = 8LL * 1024 * 1024; // UTF-16 code units
constexpr qsizetype costOfCall = 64;                  // of one without any text, in the same

/// The array under `key`; empty unless all of its elements are objects.
QJsonArray objectsIn(const QJsonObject& object, QLatin1String key) {
    QJsonArray array = object.value(key).toArray();
    const bool areObjects =
        std::ranges::all_of(std::as_const(array), [](const QJsonValue& element) { return element.isObject(); });
    return areObjects ? array : QJsonArray();
}

} // namespace

std::optional<QString> LocalCompletionStream::nextText() {
    while (!done_) {
        const auto line = lines_.next();
        if (!line)
            break;
        if (auto text = takeLine(*line))
            return text;
    }
    if (!done_ && lines_.overflowed())
        throw TransportError(TransportFault::tooLarge);
    return std::nullopt;
}

std::optional<QString> LocalCompletionStream::takeLine(QByteArrayView line) {
    constexpr QByteArrayView dataMark("data: ");
    if (!line.startsWith(dataMark))
        return std::nullopt;
    const QByteArrayView data = line.sliced(dataMark.size());
    if (data == QByteArrayView("[DONE]")) {
        done_ = true;
        return std::nullopt;
    }
    const QJsonObject chunk = QJsonDocument::fromJson(QByteArray::fromRawData(data.data(), data.size())).object();
    takeUsage(chunk.value(QLatin1String("usage")).toObject());
    const QJsonArray choices = objectsIn(chunk, QLatin1String("choices"));
    QString text = choices.isEmpty() ? QString() : takeChoice(choices.first().toObject());
    return text.isEmpty() ? std::nullopt : std::optional(std::move(text));
}

QString LocalCompletionStream::takeChoice(const QJsonObject& choice) {
    if (const QString reason = choice.value(QLatin1String("finish_reason")).toString(); !reason.isEmpty())
        finishReason_ = reason;
    const QJsonObject delta = choice.value(QLatin1String("delta")).toObject();
    const QJsonArray fragments = objectsIn(delta, QLatin1String("tool_calls"));
    for (const QJsonValue fragment : fragments)
        takeToolCall(fragment.toObject());
    QString text = delta.value(QLatin1String("content")).toString();
    count(text.size());
    text_ += text;
    return text;
}

void LocalCompletionStream::takeToolCall(const QJsonObject& fragment) {
    const qint64 index = integerIn(fragment, QLatin1String("index")).value_or(0);
    const auto [entry, isNew] = calls_.try_emplace(index);
    if (isNew)
        count(costOfCall);
    LocalToolCall& call = entry->second;
    const auto replace = [this](QString& held, const QString& value) {
        if (value.isEmpty())
            return;
        count(value.size() - held.size());
        held = value;
    };
    replace(call.id, fragment.value(QLatin1String("id")).toString());
    replace(call.type, fragment.value(QLatin1String("type")).toString());
    const QJsonObject function = fragment.value(QLatin1String("function")).toObject();
    replace(call.name, function.value(QLatin1String("name")).toString());
    const QString args = function.value(QLatin1String("arguments")).toString();
    count(args.size());
    call.args += args;
}

void LocalCompletionStream::takeUsage(const QJsonObject& usage) {
    if (const auto tokens = integerIn(usage, QLatin1String("prompt_tokens")))
        usage_.promptTokens = *tokens;
    if (const auto tokens = integerIn(usage, QLatin1String("completion_tokens")))
        usage_.completionTokens = *tokens;
}

void LocalCompletionStream::count(qsizetype more) {
    gathered_ += more;
    if (gathered_ > mostGathered)
        throw TransportError(TransportFault::tooLarge);
}

std::vector<LocalToolCall> LocalCompletionStream::toolCalls() const {
    std::vector<LocalToolCall> calls;
    calls.reserve(calls_.size());
    for (const auto& [index, call] : calls_)
        calls.push_back(call);
    return calls;
}

} // namespace vennic
