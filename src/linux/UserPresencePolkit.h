#pragma once
#include "linux/DBusLink.h"
#include "ports/UserPresence.h"

#include <atomic>

namespace vennic {

/// Asks polkit whether the user is there, by the action com.vennic.desktop.read-token, which the installation
/// registers. polkit lets only root choose the words, so the user reads the sentence of the registered action.
/// Root is authorised without being asked.
class UserPresencePolkit final : public UserPresence {
public:
    explicit UserPresencePolkit(std::chrono::milliseconds patience = std::chrono::minutes{2});

    bool isAvailable() override;
    /// A question that nobody answers in time counts as dismissed.
    PresenceOutcome confirm(const QString& reason, const std::stop_token& stop = {}) override;

private:
    enum class Asking { no, yes };
    QDBusMessage check(Asking asking, const QString& cancelId, std::chrono::milliseconds timeout,
                       const std::stop_token& stop = {});

    std::chrono::milliseconds patience_;
    DBusLink bus_{DBusLink::Bus::system};
    std::atomic<int> questions_ = 0;
};

} // namespace vennic
