#include "localllm/LocalDirectClient.h"

#include "backend/BodyLines.h"
#include "backend/LocalCompletionReader.h"
#include "base/NextTurn.h"
#include "localllm/DirectError.h"

namespace vennic::LocalDirectClient {

Task<bool> isReachable(VennicHTTP* http, QString endpoint, std::chrono::milliseconds timeout) {
    auto request = localModelsRequest(endpoint, timeout);
    if (!request)
        co_return false;
    try {
        const HttpResponse response = co_await http->sharedData(*std::move(request));
        co_return isSuccess(response.status);
    } catch (const TransportError&) {
        co_return false;
    }
}

Task<Reply> streamChatRaw(VennicHTTP* http, QString endpoint, QByteArray bodyData, OnDelta onDelta) {
    auto url = localServerURL(endpoint, QLatin1String("/chat/completions"));
    if (!url)
        throw DirectError::serverUnreachable(QStringLiteral("invalid endpoint"));
    auto stream = co_await http->sharedStream(localCompletionRequest(*std::move(url), std::move(bodyData)));
    const auto status = stream->status();
    if (!status)
        throw DirectError::decoding();
    if (!isSuccess(status)) {
        const QString excerpt = co_await refusalIn(stream.get());
        throw DirectError::httpError(*status, excerpt);
    }
    LocalCompletionReader reader(std::move(stream));
    while (const auto delta = co_await reader.nextText()) {
        if (!onDelta)
            continue;
        onDelta(*delta);
        co_await NextTurn{}; // a burst of pieces leaves everything else its turn
    }
    co_return Reply{reader.answer().text(), finishedToolCalls(reader.answer().toolCalls())};
}

QJsonArray finishedToolCalls(const std::vector<LocalToolCall>& calls, const IdentifierSource& newId) {
    QJsonArray finished;
    for (const LocalToolCall& call : calls) {
        if (call.name.isEmpty())
            continue;
        finished.append(QJsonObject{
            {QStringLiteral("id"), call.id.isEmpty() ? QStringLiteral("call_") + newId() : call.id},
            {QStringLiteral("type"), call.type},
            {QStringLiteral("function"),
             QJsonObject{{QStringLiteral("name"), call.name},
                         {QStringLiteral("arguments"), call.args.isEmpty() ? QStringLiteral("{}") : call.args}}}});
    }
    return finished;
}

} // namespace vennic::LocalDirectClient
