#include "linux/photos/PhotoConsent.h"

#include "base/Localized.h"

namespace vennic {

namespace {

const QString key = QStringLiteral("photoLibraryAccess");

DialogQuestion question() {
    return {
        .title = localized("«\u00a0Vennic\u00a0» souhaite accéder à tes photos."),
        .informativeText =
            localized("Ton serveur pourra demander le nom, la date, le type et le lieu des photos de ton "
                      "dossier d'images. Les photos elles-mêmes restent sur ce Mac.\n\n"
                      "Tu pourras changer d'avis par la commande «\u00a0vennic photos\u00a0»."),
        .accept = localized("Autoriser"),
        .refuse = localized("Ne pas autoriser"),
    };
}

} // namespace

PhotoAuthorization PhotoConsent::status() const {
    const auto allowed = storedAs<bool>(store_, key);
    if (!allowed)
        return PhotoAuthorization::notDetermined;
    return *allowed ? PhotoAuthorization::authorized : PhotoAuthorization::denied;
}

Task<PhotoAuthorization> PhotoConsent::request() {
    if (status() != PhotoAuthorization::notDetermined || !canAsk())
        co_return status();
    Event<> ended;
    struct Registered {
        PhotoConsent* consent;
        Event<>* event;
        Registered(PhotoConsent* to, Event<>* waiting) : consent(to), event(waiting) {
            consent->waiting_.push_back(event);
        }
        Registered(const Registered&) = delete;
        Registered& operator=(const Registered&) = delete;
        ~Registered() {
            consent->waiting_.remove(event);
            if (consent->waiting_.empty())
                consent->asking_.cancel();
        }
    };
    const Registered registered(this, &ended);
    if (!asking_)
        asking_ = jobs_.start(ask());
    co_await ended;
    co_return status();
}

Task<> PhotoConsent::ask() {
    try {
        const DialogAnswer answer = co_await dialogs_.ask(question());
        endAsking();
        if (answer != DialogAnswer::none)
            decide(answer == DialogAnswer::accepted);
    } catch (const Cancelled&) { // decided elsewhere
        endAsking();
    }
}

void PhotoConsent::endAsking() {
    asking_ = Job{};
    for (Event<>* each : waiting_)
        each->set(); // who waits goes on from the event loop, when all is decided
}

void PhotoConsent::decide(bool allowed) {
    const PhotoAuthorization before = status();
    store_.set(key, allowed);
    asking_.cancel();
    if (status() != before)
        Q_EMIT statusChanged();
}

} // namespace vennic
