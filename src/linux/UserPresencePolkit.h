#pragma once
#include "ports/UserPresence.h"

#include <chrono>
#include <memory>

namespace vennic {

class BusLink;

/// Asks polkit for the action com.vennic.desktop.read-token. What the user reads is the sentence of the action's
/// installed file: polkit takes no text from a program that isn't root.
class UserPresencePolkit final : public UserPresence {
public:
    /// `patience` is how long the user has to answer.
    explicit UserPresencePolkit(std::chrono::milliseconds patience = std::chrono::minutes(2));
    ~UserPresencePolkit() override;

    /// Whether polkit answers within a second and knows the action.
    bool isAvailable() override;
    /// Unavailable: no bus, no polkit, an action that isn't installed, nobody to show the question, no answer in
    /// time (the question is then withdrawn).
    PresenceOutcome confirm(const QString& reason) override;

private:
    std::chrono::milliseconds patience_;
    std::unique_ptr<BusLink> link_;
};

} // namespace vennic
