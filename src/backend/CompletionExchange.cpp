#include "backend/CompletionExchange.h"

#include "backend/APIError.h"
#include "base/LineReader.h"

namespace vennic {

namespace {

constexpr qsizetype mostLineBytes = 1024LL * 1024;
constexpr qsizetype enoughMessage = 501; // characters

/// The lines of a body, one after the other.
class BodyLines {
public:
    explicit BodyLines(HttpStream& stream) : stream_(stream) {}

    /// None at the body's end; a last line without an end is given before. Raises TransportError.
    Task<std::optional<QByteArray>> next() {
        while (true) {
            if (auto line = reader_.next())
                co_return line;
            if (reader_.overflowed())
                throw TransportError(TransportFault::tooLarge);
            if (ended_)
                co_return std::nullopt;
            if (const auto bytes = co_await stream_.next())
                reader_.feed(*bytes);
            else
                co_return takeRest();
        }
    }

private:
    std::optional<QByteArray> takeRest() {
        ended_ = true;
        QByteArray rest = reader_.rest();
        reader_ = LineReader(mostLineBytes);
        return rest.isEmpty() ? std::nullopt : std::optional(std::move(rest));
    }

    HttpStream& stream_;
    LineReader reader_{mostLineBytes};
    bool ended_ = false;
};

/// What a refused request says: its first lines, run together.
Task<QString> refusal(BodyLines* lines) {
    QString message;
    while (message.size() < enoughMessage) {
        const auto line = co_await lines->next();
        if (!line)
            break;
        message += QString::fromUtf8(*line);
    }
    co_return message;
}

} // namespace

Task<ChatReply> exchangeCompletion(VennicHTTP* http, HttpRequest request, std::optional<qint64> discussionId,
                                   CompletionStream::OnDelta onDelta) {
    const auto stream = co_await http->sharedStream(std::move(request));
    const auto status = stream->status();
    if (!status)
        throw APIError::decoding();
    BodyLines lines(*stream);
    if (*status < 200 || *status > 299) {
        const QString message = co_await refusal(&lines);
        throw APIError::http(*status, message);
    }
    CompletionStream reply(std::move(onDelta));
    while (const auto line = co_await lines.next())
        reply.takeLine(*line);
    co_return reply.reply(discussionId);
}

} // namespace vennic
