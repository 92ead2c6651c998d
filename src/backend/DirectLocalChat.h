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
    /// Whether a turn that has ended is still being filed with the backend.
    virtual bool isFiling() const = 0;
    /// Waits until all of them are filed, or have failed to be, for no longer than `limit`.
    virtual Task<> filed(std::chrono::milliseconds limit) = 0;
};

} // namespace vennic
