#include "localllm/LocalChatRequest.h"

#include "base/JsonText.h"
#include "base/Localized.h"
#include "base/LocalizedError.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace vennic {

namespace {

constexpr int mostTokens = 1024;
constexpr double temperature = 0.7;
constexpr qsizetype mostBytes = 64LL * 1024 * 1024; // far beyond what any model takes in

QJsonObject settings(const QString& model, const QJsonArray& tools) {
    QJsonObject settings{
        {QStringLiteral("model"), model},
        {QStringLiteral("max_tokens"), mostTokens},
        {QStringLiteral("temperature"), temperature},
        {QStringLiteral("stream"), true},
        {QStringLiteral("stream_options"), QJsonObject{{QStringLiteral("include_usage"), true}}},
        {QStringLiteral("chat_template_kwargs"), QJsonObject{{QStringLiteral("enable_thinking"), false}}}};
    if (!tools.isEmpty()) {
        settings.insert(QStringLiteral("tools"), tools);
        settings.insert(QStringLiteral("tool_choice"), QStringLiteral("auto"));
    }
    return settings;
}

} // namespace

LocalChatRequest::LocalChatRequest(const QString& model, const QJsonArray& tools)
    : settings_(QJsonDocument(settings(model, tools)).toJson(QJsonDocument::Compact).chopped(1).sliced(1)) {}

void LocalChatRequest::addMessage(QLatin1String role, const QString& content) {
    begin(role, content);
    end();
}

void LocalChatRequest::addToolCalls(const QString& content, const QJsonArray& calls) {
    begin(QLatin1String("assistant"), content);
    messages_ += R"(,"tool_calls":)" + QJsonDocument(calls).toJson(QJsonDocument::Compact);
    end();
}

void LocalChatRequest::addToolResult(const QString& callId, const QString& content) {
    begin(QLatin1String("tool"), content);
    messages_ += R"(,"tool_call_id":)";
    appendJsonString(messages_, callId);
    end();
}

void LocalChatRequest::begin(QLatin1String role, const QString& content) {
    if (!messages_.isEmpty())
        messages_ += ',';
    messages_ += R"({"role":")";
    messages_.append(role.data(), role.size());
    messages_ += R"(","content":)";
    appendJsonString(messages_, content);
}

void LocalChatRequest::end() {
    messages_ += '}';
    if (settings_.size() + messages_.size() > mostBytes)
        throw LocalizedError(localized("La conversation est trop longue pour le modèle local."));
}

QByteArray LocalChatRequest::body() const { return '{' + settings_ + R"(,"messages":[)" + messages_ + "]}"; }

} // namespace vennic
