#pragma once
#include "shell/SummonMonitor.h"

#include <utility>

namespace vennic::test {

/// Keys that a test presses.
class SummonMonitorFake final : public SummonMonitor {
public:
    void bind(AppSession& session, std::function<void()> handler) override {
        bound = &session;
        summon = std::move(handler);
    }
    void stop() override { summon = {}; }

    AppSession* bound = nullptr;
    std::function<void()> summon;
};

} // namespace vennic::test
