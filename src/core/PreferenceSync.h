#pragma once
#include "base/Task.h"

namespace vennic {

class AppSession;

/// The exchange of the user's preferences with the account. The session outlives every call.
class PreferenceSync {
public:
    virtual ~PreferenceSync() = default;
    /// Pulls the account's preferences into the session. Fails towards nobody.
    virtual Task<> hydrate(AppSession* session) = 0;
    /// A preference that the account knows has been written: pushes it soon. Never blocks.
    virtual void schedule(AppSession* session) = 0;
};

/// Preferences that stay on this machine: nothing is pulled, nothing is pushed.
class NoPreferenceSync final : public PreferenceSync {
public:
    Task<> hydrate(AppSession*) override { co_return; }
    void schedule(AppSession*) override {}
};

} // namespace vennic
