#pragma once
#include "backend/APIConfig.h"
#include "backend/UserPrefs.h"
#include "backend/UserPrefsChange.h"
#include "backend/VennicHTTP.h"
#include "base/Clock.h"
#include "core/PreferenceSync.h"

namespace vennic {

/// Keeps five preferences in step with the account: a pull when a token arrives, a push half a second after the last
/// change. What is pulled is never pushed back. Main thread only.
class ServerPreferenceSync final : public PreferenceSync {
public:
    ServerPreferenceSync(VennicHTTP& http, const APIConfig& config, Clock& clock)
        : http_(http), config_(config), clock_(clock) {}

    Task<> hydrate(AppSession* session) override;
    void schedule(AppSession* session) override;

private:
    void apply(AppSession& session, const UserPrefs& prefs);
    Task<> push(SecretText token, qint64 userId, UserPrefsChange change);
    Task<> send(SecretText token, qint64 userId, UserPrefsChange change);

    VennicHTTP& http_;
    const APIConfig& config_;
    Clock& clock_;
    bool isHydrating_ = false;
    Job syncTask_; // the push that waits, if any
    Scope jobs_;
};

} // namespace vennic
