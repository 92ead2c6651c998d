#include "settings/GeneralSettingsTab.h"

#include "base/Localized.h"
#include "core/Pairing.h"

namespace vennic {

namespace {
constexpr auto savedFlashTime = std::chrono::milliseconds{1500};
} // namespace

GeneralSettingsTab::GeneralSettingsTab(Surroundings surroundings) : with_(std::move(surroundings)) {
    connect(&with_.session, &AppSession::userTokenChanged, this, [this] {
        // Both are of another token.
        reading_.cancel();
        pairSuccessEmail_.clear();
        Q_EMIT accountChanged();
    });
    connect(&with_.session, &AppSession::userEmailChanged, this, &GeneralSettingsTab::accountChanged);
}

void GeneralSettingsTab::appear() {
    reading_.cancel();
    reading_ = jobs_.start(readToken());
    const bool highSecurity = storedAs<bool>(with_.store, PreferenceKey::highSecurityMode).value_or(false);
    if (highSecurityOn_ != highSecurity) {
        highSecurityOn_ = highSecurity;
        Q_EMIT highSecurityOnChanged();
    }
    setQuitConfirmationSuppressed(storedAs<bool>(with_.store, PreferenceKey::suppressQuitConfirmation).value_or(false));
}

void GeneralSettingsTab::disappear() {
    reading_.cancel();
    tokenDraft_.scrub();
}

Task<> GeneralSettingsTab::readToken() {
    const auto stored = co_await with_.keychain.readAside(localized("Authentifie-toi pour accéder à Vennic"));
    if (stored && tokenDraft_.length() == 0)
        tokenDraft_.set(*stored);
}

// Pairing

QString GeneralSettingsTab::pairedAccount() const {
    const QString email =
        pairSuccessEmail_.isEmpty() ? with_.session.userEmail().value_or(QString()) : pairSuccessEmail_;
    return email.isEmpty() ? localized("Ce Mac est appairé") : localized("Appairé avec ") + shownReason(email);
}

void GeneralSettingsTab::setPairCode(const QString& code) {
    if (pairCode_ == code)
        return;
    pairCode_ = code;
    Q_EMIT pairCodeChanged();
    Q_EMIT canPairChanged();
    setPairError({});
}

bool GeneralSettingsTab::canPair() const { return !pairingLoading_ && !pairCode_.trimmed().isEmpty(); }

void GeneralSettingsTab::claimPairingCode() {
    if (!canPair())
        return;
    setPairingLoading(true);
    setPairError({});
    setPairSuccessEmail({});
    jobs_.start(claim(pairCode_.trimmed()));
}

Task<> GeneralSettingsTab::claim(QString code) {
    try {
        setPairSuccessEmail(co_await pairSession(&with_.session, &with_.http, &with_.config, std::move(code)));
        setPairCode({});
        tokenDraft_.set({});
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        setPairError(localizedDescription(error));
    }
    setPairingLoading(false);
}

void GeneralSettingsTab::signOut() {
    with_.session.setToken(SecretText{});
    setPairSuccessEmail({});
    setPairCode({});
}

// The token itself

void GeneralSettingsTab::saveToken() {
    reading_.cancel();
    with_.session.setToken(tokenDraft_.secret());
    tokenDraft_.scrub();
    setSavedFlash(true);
    flash_.cancel();
    flash_ = jobs_.start(endSavedFlash());
}

Task<> GeneralSettingsTab::endSavedFlash() {
    co_await with_.clock.sleep(savedFlashTime);
    setSavedFlash(false);
}

void GeneralSettingsTab::clearToken() {
    reading_.cancel();
    tokenDraft_.set({});
    with_.session.setToken(SecretText{});
}

void GeneralSettingsTab::pasteToken() {
    QString copied = with_.pasteboard();
    tokenDraft_.insert(copied);
    wipe(copied);
}

// Security

void GeneralSettingsTab::setHighSecurityOn(bool on) {
    if (highSecurityOn_ == on)
        return;
    highSecurityOn_ = on;
    with_.store.set(PreferenceKey::highSecurityMode, on);
    Q_EMIT highSecurityOnChanged();
    if (const std::optional<SecretText> token = with_.session.userToken(); token && !token->isEmpty())
        with_.session.setToken(*token);
}

void GeneralSettingsTab::restoreQuitConfirmation() {
    with_.store.remove(PreferenceKey::suppressQuitConfirmation);
    setQuitConfirmationSuppressed(false);
}

// Publishing

void GeneralSettingsTab::setPairError(const QString& error) {
    if (pairError_ == error)
        return;
    pairError_ = error;
    Q_EMIT pairErrorChanged();
}

void GeneralSettingsTab::setPairSuccessEmail(const QString& email) {
    if (pairSuccessEmail_ == email)
        return;
    pairSuccessEmail_ = email;
    Q_EMIT accountChanged();
}

void GeneralSettingsTab::setPairingLoading(bool loading) {
    if (pairingLoading_ == loading)
        return;
    pairingLoading_ = loading;
    Q_EMIT isPairingLoadingChanged();
    Q_EMIT canPairChanged();
}

void GeneralSettingsTab::setSavedFlash(bool shown) {
    if (savedFlash_ == shown)
        return;
    savedFlash_ = shown;
    Q_EMIT savedFlashChanged();
}

void GeneralSettingsTab::setQuitConfirmationSuppressed(bool suppressed) {
    if (quitConfirmationSuppressed_ == suppressed)
        return;
    quitConfirmationSuppressed_ = suppressed;
    Q_EMIT quitConfirmationSuppressedChanged();
}

} // namespace vennic
