#include "Bridge/AssembledCompletion.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

namespace vennic {

namespace {

constexpr qsizetype charactersOfCallId = 8;

QJsonArray assembledCalls(const std::vector<LocalToolCall>& calls, const IdentifierSource& newId) {
    QJsonArray assembled;
    for (const LocalToolCall& call : calls) {
        const QString id = call.id.isEmpty() ? QStringLiteral("call_") + newId().left(charactersOfCallId) : call.id;
        assembled.append(QJsonObject{
            {QStringLiteral("id"), id},
            {QStringLiteral("type"), call.type},
            {QStringLiteral("function"),
             QJsonObject{{QStringLiteral("name"), call.name}, {QStringLiteral("arguments"), call.args}}},
        });
    }
    return assembled;
}

qint64 total(const LocalCompletionStream::Usage& usage) {
    qint64 sum = 0;
    // Numbers that no server counts to, but one may write.
    const bool overflowed = __builtin_add_overflow(usage.promptTokens, usage.completionTokens, &sum);
    return overflowed ? std::numeric_limits<qint64>::max() : sum;
}

} // namespace

QString assembledCompletion(const LocalCompletionStream& answer, const QString& model, const IdentifierSource& newId) {
    const QJsonArray calls = assembledCalls(answer.toolCalls(), newId);
    QJsonObject message{{QStringLiteral("role"), QStringLiteral("assistant")},
                        {QStringLiteral("content"), answer.text()}};
    if (!calls.isEmpty())
        message.insert(QStringLiteral("tool_calls"), calls);
    const QString usualReason = calls.isEmpty() ? QStringLiteral("stop") : QStringLiteral("tool_calls");
    const QJsonObject choice{{QStringLiteral("index"), 0},
                             {QStringLiteral("finish_reason"), answer.finishReason().value_or(usualReason)},
                             {QStringLiteral("message"), message}};
    const auto& usage = answer.usage();
    const QJsonObject completion{
        {QStringLiteral("id"), QStringLiteral("chatcmpl-") + newId()},
        {QStringLiteral("object"), QStringLiteral("chat.completion")},
        {QStringLiteral("model"), model},
        {QStringLiteral("choices"), QJsonArray{choice}},
        {QStringLiteral("usage"), QJsonObject{{QStringLiteral("prompt_tokens"), usage.promptTokens},
                                              {QStringLiteral("completion_tokens"), usage.completionTokens},
                                              {QStringLiteral("total_tokens"), total(usage)}}}};
    return QString::fromUtf8(QJsonDocument(completion).toJson(QJsonDocument::Compact));
}

} // namespace vennic
