#pragma once
#include "base/Clock.h"
#include "ports/KeyValueStore.h"
#include "ports/ModalDialogs.h"
#include "ports/PhotoLibrary.h"

#include <QObject>

#include <list>

namespace vennic {

/// What the user has said of access to their photos: asked once, by a dialog, kept among the preferences, and theirs to
/// change. Where there is no screen nobody is asked and nothing is decided. Main thread only.
class PhotoConsent final : public QObject {
    Q_OBJECT
public:
    /// How long the dialog waits before it is taken away; the next request raises it again.
    static constexpr std::chrono::minutes patience{10};

    /// What is named by reference outlives it.
    PhotoConsent(KeyValueStore& store, ModalDialogs& dialogs, Clock& clock);

    PhotoAuthorization status() const;
    /// Whether the user can be asked here.
    bool canAsk() const { return dialogs_.hasScreen(); }
    /// Asks if nothing is decided yet, and waits. Several requests share one dialog; it goes when nobody waits any
    /// more, and when something is decided elsewhere.
    Task<PhotoAuthorization> request();
    void decide(bool allowed);

Q_SIGNALS:
    void statusChanged();

private:
    Task<> ask();
    Task<> losePatience();
    void endAsking();

    KeyValueStore& store_;
    ModalDialogs& dialogs_;
    Clock& clock_;
    std::list<Event<>*> waiting_;
    Job asking_;
    Job limit_;
    Scope jobs_;
};

} // namespace vennic
