#pragma once
#include "backend/LocalCompletionStream.h"
#include "backend/VennicHTTP.h"
#include "base/Identifier.h"

#include <QJsonArray>

#include <functional>

namespace vennic {

/// The client of the OpenAI-compatible server on this machine, for the turns that involve no backend. It keeps nothing
/// between calls and sends no token; `http` outlives the calls.
namespace LocalDirectClient {

using OnDelta = std::function<void(const QString&)>;

/// A whole answer.
struct Reply {
    QString text;
    QJsonArray toolCalls; // finished, in the form in which the server wants to be reminded of them
    bool operator==(const Reply&) const = default;
};

/// Whether GET `endpoint`/models is answered with success within `timeout`. Fails with Cancelled alone.
Task<bool> isReachable(VennicHTTP* http, QString endpoint, std::chrono::milliseconds timeout);

/// Sends `bodyData`, the JSON of a streamed chat completion, to `endpoint`/chat/completions. `onDelta`, which may be
/// empty, hears each piece of text on the main thread, in a turn of its own. Raises DirectError, TransportError and
/// Cancelled; a cancelled job closes the connection at once.
Task<Reply> streamChatRaw(VennicHTTP* http, QString endpoint, QByteArray bodyData, OnDelta onDelta);

/// The calls that have a name, as the conversation keeps them: one without an id gets "call_" and what `newId` gives,
/// missing arguments are "{}".
QJsonArray finishedToolCalls(const std::vector<LocalToolCall>& calls, const IdentifierSource& newId = newIdentifier);

} // namespace LocalDirectClient
} // namespace vennic
