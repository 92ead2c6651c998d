#pragma once
#include "backend/TurnEnd.h"
#include "base/Task.h"

#include <QString>

#include <chrono>

namespace vennic {

/// The model that this machine serves itself, as the conversation sees it.
class DirectLocalChat {
public:
    virtual ~DirectLocalChat() = default;
    /// Whether the server at `endpoint` answers within `timeout`.
    virtual Task<bool> isReachable(QString endpoint, std::chrono::milliseconds timeout) = 0;
    /// Answers the text that stands last in the conversation, and ends the turn. The answer is the text of its last
    /// round, which may be empty.
    virtual Task<TurnEnd> runDirectLocal(QString prompt) = 0;
};

} // namespace vennic
