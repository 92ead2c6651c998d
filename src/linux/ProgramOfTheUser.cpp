#include "linux/ProgramOfTheUser.h"

#include "linux/ProcessLimits.h"

#include <array>
#include <csignal>
#include <unistd.h>

namespace vennic {

void becomeProgramOfTheUser(void*) noexcept {
    setsid();
    restoreLimits();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

const char* const* variablesOfThisProcess() noexcept {
    // Startup Notification, xdg-activation; sd_notify(3), sd_listen_fds(3), systemd.exec(5).
    static constexpr std::array<const char*, 10> names{
        "DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN", "NOTIFY_SOCKET", "LISTEN_FDS",    "LISTEN_FDNAMES",
        "LISTEN_PID",         "WATCHDOG_USEC",        "WATCHDOG_PID",  "INVOCATION_ID", nullptr};
    return names.data();
}

} // namespace vennic
