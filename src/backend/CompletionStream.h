#pragma once
#include "backend/ChatReply.h"

#include <QByteArray>

#include <functional>
#include <optional>

namespace vennic {

/// Reads the backend's event stream, line by line. Its grammar is narrower than the one of server-sent events (WHATWG
/// HTML, 9.2): "event: " and "data: " with their blank, the empty line that ends an event, and nothing else.
class CompletionStream {
public:
    using OnDelta = std::function<void(const QString&)>;

    /// `onDelta`, which may be empty, hears each piece of text as it comes.
    explicit CompletionStream(OnDelta onDelta = {}) : onDelta_(std::move(onDelta)) {}

    /// Takes one line, without its end. Raises TransportError (tooLarge) when the reply outgrows 16 MiB of bytes.
    void takeLine(QByteArrayView line);
    /// The reply once the lines have run out; `discussionId` is the caller's. An event that no empty line has ended
    /// is no part of it.
    ChatReply reply(std::optional<qint64> discussionId) const;

private:
    void count(qsizetype bytes);
    void dispatch();
    void takeInitial();
    void takeMessage();
    void takeFinal();

    OnDelta onDelta_;
    QString accumulated_;
    std::optional<QString> final_;
    std::optional<qint64> discussionId_;
    QByteArray event_ = "message";
    QByteArray data_;
    qsizetype bytes_ = 0;
};

} // namespace vennic
