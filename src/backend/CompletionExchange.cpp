#include "backend/CompletionExchange.h"

#include "backend/APIError.h"
#include "backend/BodyLines.h"

namespace vennic {

Task<ChatReply> exchangeCompletion(VennicHTTP* http, HttpRequest request, std::optional<qint64> discussionId,
                                   CompletionStream::OnDelta onDelta) {
    const auto stream = co_await http->sharedStream(std::move(request));
    const auto status = stream->status();
    if (!status)
        throw APIError::decoding();
    if (!isSuccess(status)) {
        const QString message = co_await refusalIn(stream.get());
        throw APIError::http(*status, message);
    }
    BodyLines lines(*stream);
    CompletionStream reply(std::move(onDelta));
    while (const auto line = co_await lines.next())
        reply.takeLine(*line);
    co_return reply.reply(discussionId);
}

} // namespace vennic
