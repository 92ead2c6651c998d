#pragma once
#include "linux/DBusReturn.h"
#include "linux/desktop/ApplicationObject.h"

#include <memory>

namespace vennic {

/// The road over the session bus: the name com.vennic.desktop, which is also the desktop entry's, with the interface
/// org.freedesktop.Application. A bus that comes again finds it there again.
class DesktopActivationBus final : public DesktopActivation {
public:
    ~DesktopActivationBus() override { withdraw(); }
    DesktopActivationBus() = default;
    Q_DISABLE_COPY_MOVE(DesktopActivationBus)

    bool offer(Requests requests) override;
    void withdraw() override;
    bool handOver(const QStringList& addresses, const QString& token, std::chrono::milliseconds limit) override;

private:
    bool stepOntoBus();

    DBusLink bus_{DBusLink::Bus::session};
    Requests requests_;
    std::unique_ptr<ApplicationObject> object_;
    std::unique_ptr<DBusReturn> busReturn_;
};

} // namespace vennic
