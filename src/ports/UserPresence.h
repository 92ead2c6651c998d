#pragma once
#include <QString>

namespace vennic {

enum class PresenceOutcome { confirmed, refused, dismissed, unavailable };

/// Asks the system to make sure that the user is there.
class UserPresence {
public:
    virtual ~UserPresence() = default;
    /// Whether the system can ask at all. Quick; asks nobody.
    virtual bool isAvailable() = 0;
    /// Asks and waits for the answer, at most two minutes. `reason` is what the user reads, where the system lets
    /// the caller say it.
    virtual PresenceOutcome confirm(const QString& reason) = 0;
};

} // namespace vennic
