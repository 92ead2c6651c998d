#pragma once
#include "core/AppSession.h"

#include <functional>

namespace vennic {

/// Watches for the keys that summon the program from anywhere. Main thread.
class SummonMonitor {
public:
    virtual ~SummonMonitor() = default;
    /// Watches as the session's preferences say, and calls `handler` at each summon.
    virtual void bind(AppSession& session, std::function<void()> handler) = 0;
    virtual void stop() = 0;
};

/// A program that nothing summons.
class NoSummonMonitor final : public SummonMonitor {
public:
    void bind(AppSession&, std::function<void()>) override {}
    void stop() override {}
};

} // namespace vennic
