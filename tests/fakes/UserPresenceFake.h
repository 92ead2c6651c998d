#pragma once
#include "ports/UserPresence.h"

#include <QStringList>

namespace vennic::test {

/// Answers as told and remembers what was asked.
class UserPresenceFake final : public UserPresence {
public:
    bool available = true;
    PresenceOutcome outcome = PresenceOutcome::confirmed;
    QStringList reasons; // of each question

    bool isAvailable() override { return available; }
    PresenceOutcome confirm(const QString& reason, const std::stop_token& = {}) override {
        reasons << reason;
        return available ? outcome : PresenceOutcome::unavailable;
    }
};

} // namespace vennic::test
