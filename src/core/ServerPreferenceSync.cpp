#include "core/ServerPreferenceSync.h"

#include "backend/APIService.h"
#include "core/AppSession.h"

namespace vennic {

namespace {

constexpr std::chrono::milliseconds settleTime{500};

UserPrefsChange snapshot(const AppSession& session) {
    UserPrefsChange change;
    change.voiceMode = QString(wireForm(session.voiceMode()));
    change.provider = QString(rawValue(session.provider()));
    change.transcribeAudio = session.whisperTranscription();
    // The account only knows on and off.
    change.audioOutput = session.audioOutput() != AudioOutput::local;
    if (!session.audioVoice().isEmpty())
        change.audioVoice = session.audioVoice();
    return change;
}

} // namespace

Task<> ServerPreferenceSync::hydrate(AppSession* session) {
    if (!session->isAuthenticated())
        co_return;
    const APIService api(http_, config_, session->userToken(), {});
    std::optional<UserPrefs> prefs;
    try {
        prefs = co_await api.fetchUserPrefs();
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): a failed pull isn't shown
    }
    if (!prefs) {
        session->setLastError(std::nullopt);
        co_return;
    }
    session->setUserId(prefs->id);
    if (prefs->email)
        session->setUserEmail(prefs->email);
    isHydrating_ = true; // nothing waits until it is false again
    apply(*session, *prefs);
    isHydrating_ = false;
}

void ServerPreferenceSync::apply(AppSession& session, const UserPrefs& prefs) {
    if (prefs.default_voice_mode) {
        const auto mode = voiceModeFromWire(*prefs.default_voice_mode);
        if (mode && *mode != session.voiceMode())
            session.setVoiceMode(*mode);
    }
    if (prefs.default_provider) {
        const auto provider = fromRawValue<Provider>(*prefs.default_provider);
        if (provider && *provider != session.provider())
            session.setProvider(*provider);
    }
    if (prefs.transcribe_audio && *prefs.transcribe_audio != session.whisperTranscription())
        session.setWhisperTranscription(*prefs.transcribe_audio);
    if (prefs.audio_output) {
        // This machine's choice between the two kinds of "on" survives.
        const bool isOn = session.audioOutput() != AudioOutput::local;
        if (isOn != *prefs.audio_output)
            session.setAudioOutput(*prefs.audio_output ? AudioOutput::gpt : AudioOutput::local);
    }
    if (prefs.default_audio_voice && *prefs.default_audio_voice != session.audioVoice())
        session.setAudioVoice(*prefs.default_audio_voice);
}

void ServerPreferenceSync::schedule(AppSession* session) {
    const auto& token = session->userToken();
    const auto user = session->userId();
    if (isHydrating_ || !session->isAuthenticated() || !token || !user)
        return;
    syncTask_.cancel();
    syncTask_ = jobs_.start(push(*token, *user, snapshot(*session)));
}

Task<> ServerPreferenceSync::push(SecretText token, qint64 userId, UserPrefsChange change) {
    co_await clock_.sleep(settleTime);
    // What has settled is sent, whatever changes from now on: a later push follows it and doesn't cancel it.
    jobs_.start(send(std::move(token), userId, std::move(change)));
}

Task<> ServerPreferenceSync::send(SecretText token, qint64 userId, UserPrefsChange change) {
    const APIService api(http_, config_, std::move(token), {});
    try {
        co_await api.patchUserPrefs(userId, change);
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): a failed push is lost
    }
}

} // namespace vennic
