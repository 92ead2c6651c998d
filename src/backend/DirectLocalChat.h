#pragma once
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
    /// Answers the text that stands last in the conversation, and ends the turn.
    virtual Task<> runDirectLocal(QString prompt) = 0;
};

} // namespace vennic
