#pragma once
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

namespace vennic {

/// Asks for the user's presence before a protected item is read: success, or why it stays closed.
inline CredentialStatus confirmedBy(UserPresence& presence, const std::optional<QString>& prompt,
                                    const std::stop_token& stop) {
    if (!prompt)
        return CredentialStatus::interactionNotAllowed;
    switch (presence.confirm(*prompt, stop)) {
    case PresenceOutcome::confirmed:
        return CredentialStatus::success;
    case PresenceOutcome::dismissed:
        return CredentialStatus::userCancelled;
    case PresenceOutcome::refused:
    case PresenceOutcome::unavailable:
        return CredentialStatus::authFailed;
    }
    Q_UNREACHABLE();
}

} // namespace vennic
