#include "backend/BodyLines.h"

#include "base/Characters.h"

namespace vennic {

namespace {

constexpr qint64 enoughRefusal = 501; // characters

} // namespace

Task<std::optional<QByteArray>> BodyLines::next() {
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

std::optional<QByteArray> BodyLines::takeRest() {
    ended_ = true;
    QByteArray rest = reader_.rest();
    reader_ = LineReader(mostLineBytes);
    return rest.isEmpty() ? std::nullopt : std::optional(std::move(rest));
}

Task<QString> refusalIn(HttpStream* stream) {
    BodyLines lines(*stream);
    QString text;
    try {
        while (characterCount(text) < enoughRefusal) {
            const auto line = co_await lines.next();
            if (!line)
                break;
            text += QString::fromUtf8(*line);
        }
    } catch (const TransportError& error) {
        // Too much of an explanation makes a refusal no less one: its status still counts.
        if (error.fault() != TransportFault::tooLarge)
            throw;
    }
    co_return text;
}

} // namespace vennic
