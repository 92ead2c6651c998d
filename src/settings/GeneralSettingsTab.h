#pragma once
#include "base/Clock.h"
#include "base/ShownText.h"
#include "core/AppSession.h"
#include "settings/SecretDraft.h"

#include <QObject>
#include <QUrl>

#include <functional>

namespace vennic {

/// The first tab of the settings: the account of this machine and how its credential is guarded. It outlives what shows
/// it, and so does a pairing that is under way. Main thread only.
class GeneralSettingsTab final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isAuthenticated READ isAuthenticated NOTIFY accountChanged)
    Q_PROPERTY(QString pairedAccount READ pairedAccount NOTIFY accountChanged)
    Q_PROPERTY(QString pairingPage READ pairingPage CONSTANT)
    Q_PROPERTY(QString pairCode READ pairCode WRITE setPairCode NOTIFY pairCodeChanged)
    Q_PROPERTY(bool canPair READ canPair NOTIFY canPairChanged)
    Q_PROPERTY(bool isPairingLoading READ isPairingLoading NOTIFY isPairingLoadingChanged)
    Q_PROPERTY(QString pairError READ pairError NOTIFY pairErrorChanged)
    Q_PROPERTY(vennic::SecretDraft* tokenDraft READ tokenDraft CONSTANT)
    Q_PROPERTY(bool savedFlash READ savedFlash NOTIFY savedFlashChanged)
    Q_PROPERTY(bool highSecurityOn READ highSecurityOn WRITE setHighSecurityOn NOTIFY highSecurityOnChanged)
    Q_PROPERTY(bool quitConfirmationSuppressed READ quitConfirmationSuppressed NOTIFY quitConfirmationSuppressedChanged)
public:
    /// What the tab touches; each outlives it.
    struct Surroundings {
        AppSession& session;
        KeyValueStore& store;
        KeychainStore& keychain;
        VennicHTTP& http;
        const APIConfig& config;
        Clock& clock;
        std::function<void(const QUrl&)> openURL; // in the default browser
        std::function<QString()> pasteboard;      // the text that the user has copied
    };

    explicit GeneralSettingsTab(Surroundings surroundings);

    bool isAuthenticated() const { return with_.session.isAuthenticated(); }
    /// The words for the account that the session's token belongs to.
    QString pairedAccount() const;
    /// Address of the site's page that shows a pairing code.
    QString pairingPage() const { return with_.config.deployment().pairingPage; }
    const QString& pairCode() const { return pairCode_; }
    void setPairCode(const QString& code);
    /// Whether the code holds more than blanks and no claim is under way.
    bool canPair() const;
    bool isPairingLoading() const { return pairingLoading_; }
    /// The account that was paired here; empty when there is none.
    const QString& pairSuccessEmail() const { return pairSuccessEmail_; }
    /// The last failure of pairing; empty when there is none.
    QString pairError() const { return shownReason(pairError_); }
    SecretDraft* tokenDraft() { return &tokenDraft_; }
    bool savedFlash() const { return savedFlash_; }
    bool highSecurityOn() const { return highSecurityOn_; }
    /// Stores the choice, and the session's token again under the protection that it asks for.
    void setHighSecurityOn(bool on);
    bool quitConfirmationSuppressed() const { return quitConfirmationSuppressed_; }

    /// To be called when the window comes up. Has the stored token read into its field, unless something stands there
    /// by then: with high security on the system asks the user, who goes on using the window and everything else.
    void appear();
    /// To be called when the window has gone. Forgets the token in the field, and takes back what asks for it.
    void disappear();

    /// Exchanges the code for a token; nothing while that can't be done.
    Q_INVOKABLE void claimPairingCode();
    Q_INVOKABLE void openPairingPage() const { with_.openURL(QUrl(pairingPage())); }
    Q_INVOKABLE void signOut();
    /// Signs in with what stands in the token field, then scrubs it. An empty field signs out.
    Q_INVOKABLE void saveToken();
    Q_INVOKABLE void clearToken();
    /// Writes what the user has copied into the token field.
    Q_INVOKABLE void pasteToken();
    Q_INVOKABLE void restoreQuitConfirmation();

Q_SIGNALS:
    void accountChanged();
    void pairCodeChanged();
    void canPairChanged();
    void isPairingLoadingChanged();
    void pairErrorChanged();
    void savedFlashChanged();
    void highSecurityOnChanged();
    void quitConfirmationSuppressedChanged();

private:
    Task<> readToken();
    Task<> claim(QString code);
    Task<> endSavedFlash();
    void setPairError(const QString& error);
    void setPairSuccessEmail(const QString& email);
    void setPairingLoading(bool loading);
    void setSavedFlash(bool shown);
    void setQuitConfirmationSuppressed(bool suppressed);

    Surroundings with_;
    QString pairCode_;
    bool pairingLoading_ = false;
    QString pairSuccessEmail_;
    QString pairError_;
    SecretDraft tokenDraft_;
    bool savedFlash_ = false;
    bool highSecurityOn_ = false;
    bool quitConfirmationSuppressed_ = false;
    Job flash_;
    Job reading_; // of the stored token
    Scope jobs_;
};

} // namespace vennic
