#pragma once
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
    /// What is named by reference outlives it.
    PhotoConsent(KeyValueStore& store, ModalDialogs& dialogs) : store_(store), dialogs_(dialogs) {}

    PhotoAuthorization status() const;
    /// Whether the user can be asked here.
    bool canAsk() const { return dialogs_.hasScreen(); }
    /// Asks if nothing is decided yet, and waits for as long as it takes. Several requests share one dialog; it goes
    /// when nobody waits any more, and when something is decided elsewhere.
    Task<PhotoAuthorization> request();
    void decide(bool allowed);

Q_SIGNALS:
    void statusChanged();

private:
    Task<> ask();
    void endAsking();

    KeyValueStore& store_;
    ModalDialogs& dialogs_;
    std::list<Event<>*> waiting_;
    Job asking_;
    Scope jobs_;
};

} // namespace vennic
