#pragma once
#include <QByteArray>
#include <QJsonArray>
#include <QString>

namespace vennic {

/// The request of a direct turn to the local server, whose conversation grows from round to round: the JSON of a
/// streamed chat completion (the OpenAI API's form), with thinking switched off. What has been added is encoded once.
/// It holds 64 MiB at most: what adds beyond raises LocalizedError, and the request is of no use any more.
class LocalChatRequest {
public:
    /// Without `tools` the model is offered none.
    explicit LocalChatRequest(const QString& model, const QJsonArray& tools = {});

    /// `role`: "system", "user" or "assistant".
    void addMessage(QLatin1String role, const QString& content);
    /// An assistant's message that calls tools; `calls` are the finished calls.
    void addToolCalls(const QString& content, const QJsonArray& calls);
    /// What the tool gave that was called under `callId`.
    void addToolResult(const QString& callId, const QString& content);

    QByteArray body() const;

private:
    /// Begins a message; the caller appends its further fields and ends it.
    void begin(QLatin1String role, const QString& content);
    void end();

    QByteArray settings_; // all fields but the messages, without the braces
    QByteArray messages_; // separated by commas
};

} // namespace vennic
