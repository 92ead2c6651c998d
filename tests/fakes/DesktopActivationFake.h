#pragma once
#include "ports/DesktopActivation.h"

#include <utility>

namespace vennic::test {

/// A desktop on which a test clicks.
class DesktopActivationFake final : public DesktopActivation {
public:
    bool offer(Requests given) override {
        if (absent)
            return false;
        requests = std::move(given);
        return true;
    }
    void withdraw() override { requests = {}; }
    bool handOver(const QStringList& addresses, const QString& token, std::chrono::milliseconds) override {
        if (!requests.activate)
            return false;
        if (!token.isEmpty() && requests.allow)
            requests.allow(token);
        if (addresses.isEmpty())
            requests.activate();
        else
            requests.open(addresses);
        return true;
    }

    Requests requests;
    bool absent = false;
};

} // namespace vennic::test
