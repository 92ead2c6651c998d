#pragma once
#include "backend/CompletionStream.h"
#include "backend/VennicHTTP.h"

namespace vennic {

/// Sends `request` on the shared session and reads the event stream that answers it. `discussionId` is the caller's.
/// Raises APIError, TransportError, and Cancelled.
Task<ChatReply> exchangeCompletion(VennicHTTP* http, HttpRequest request, std::optional<qint64> discussionId,
                                   CompletionStream::OnDelta onDelta);

} // namespace vennic
