#include "backend/CompletionStream.h"

#include "base/Json.h"
#include "base/TransportError.h"

#include <QJsonDocument>

#include <utility>

namespace vennic {

namespace {

constexpr qsizetype mostReplyBytes = 16LL * 1024 * 1024;

std::optional<QJsonObject> objectIn(const QByteArray& data) {
    const QJsonDocument document = QJsonDocument::fromJson(data);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

/// The text under `key`; none when it is missing, of another type or empty.
std::optional<QString> textIn(const QJsonObject& object, QLatin1String key) {
    const QString text = object.value(key).toString();
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

void CompletionStream::takeLine(QByteArrayView line) {
    constexpr QByteArrayView eventMark("event: ");
    constexpr QByteArrayView dataMark("data: ");
    if (line.isEmpty()) {
        dispatch();
    } else if (line.startsWith(eventMark)) {
        event_ = line.sliced(eventMark.size()).toByteArray();
    } else if (line.startsWith(dataMark)) {
        const QByteArrayView rest = line.sliced(dataMark.size());
        count(rest.size() + 1);
        if (!data_.isEmpty())
            data_ += '\n';
        data_.append(rest.data(), rest.size());
    }
}

void CompletionStream::count(qsizetype bytes) {
    bytes_ += bytes;
    if (bytes_ > mostReplyBytes)
        throw TransportError(TransportFault::tooLarge);
}

void CompletionStream::dispatch() {
    if (event_ == "initial")
        takeInitial();
    else if (event_ == "message")
        takeMessage();
    else if (event_ == "final")
        takeFinal();
    event_ = "message";
    data_.clear();
}

void CompletionStream::takeInitial() {
    if (const auto object = objectIn(data_))
        if (const auto id = integerIn(*object, QLatin1String("discussion_id")))
            discussionId_ = id;
}

void CompletionStream::takeMessage() {
    const QString delta = QString::fromUtf8(data_);
    accumulated_ += delta;
    if (onDelta_)
        onDelta_(delta);
}

void CompletionStream::takeFinal() {
    const auto object = objectIn(data_);
    if (!object)
        return;
    if (const auto id = integerIn(*object, QLatin1String("discussion_id")))
        discussionId_ = id;
    if (const auto text = textIn(*object, QLatin1String("text")))
        final_ = text;
    else if (const auto message = textIn(*object, QLatin1String("response_message")))
        final_ = message;
}

ChatReply CompletionStream::reply(std::optional<qint64> discussionId) const {
    return {final_.value_or(accumulated_), discussionId_.value_or(discussionId.value_or(0))};
}

} // namespace vennic
