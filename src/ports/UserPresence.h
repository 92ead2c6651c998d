#pragma once
#include <QString>

#include <stop_token>

namespace vennic {

enum class PresenceOutcome { confirmed, refused, dismissed, unavailable };

/// Asks the system to make sure that the user is there.
class UserPresence {
public:
    virtual ~UserPresence() = default;
    /// Whether the system can ask at all. Quick; asks nobody.
    virtual bool isAvailable() = 0;
    /// Asks and waits for the answer, at most two minutes. `reason` is what the user reads, where the system lets
    /// the caller say it. On any thread; once `stop` is told to stop the question is withdrawn, and counts as
    /// dismissed. With a token that can be told to stop not on the main thread.
    virtual PresenceOutcome confirm(const QString& reason, const std::stop_token& stop = {}) = 0;
};

} // namespace vennic
