#pragma once
#include "core/PreferenceSync.h"

namespace vennic::test {

/// Counts what the session asks of the exchange of preferences.
class PreferenceSyncFake final : public PreferenceSync {
public:
    Task<> hydrate(AppSession*) override {
        ++pulls;
        co_return;
    }
    void schedule(AppSession*) override { ++pushes; }

    int pulls = 0;
    int pushes = 0;
};

} // namespace vennic::test
