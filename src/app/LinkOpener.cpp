#include "app/LinkOpener.h"

#include "Bridge/LocalLinks.h"
#include "Bridge/PhotoOpener.h"
#include "base/Pool.h"

namespace vennic {

namespace {

void openDocument(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& path) {
    workspace->open(path, std::move(stop));
}

/// Keeps what a warning says for who typed the command, and shows it to who clicked on a link.
class WarningCopy final : public ModalDialogs {
public:
    explicit WarningCopy(Client& client) : client_(client) {}
    bool hasScreen() const override { return client_.dialogs().hasScreen(); }
    Task<DialogAnswer> ask(DialogQuestion question) override { return client_.dialogs().ask(std::move(question)); }
    Task<> warn(QString title, QString informativeText) override {
        text_ = informativeText;
        if (hasScreen())
            client_.warn(title, informativeText);
        co_return;
    }
    bool isShowing() const override { return client_.dialogs().isShowing(); }
    void onClosed(std::function<void()>) override {} // who wants to know asks the client's own
    const QString& text() const { return text_; }

private:
    Client& client_;
    QString text_;
};

} // namespace

Task<std::optional<LinkOpener::Failure>> LinkOpener::open(QString address) {
    if (address.startsWith(photoLink))
        co_return co_await openPhoto(address.mid(photoLink.size()));
    if (!address.startsWith(documentLink))
        co_return Failure{
            QStringLiteral("Cette adresse n'est ni celle d'un document ni celle d'une photo : %1").arg(address)};
    const auto url = client_.bridge().idCache().get(address.mid(documentLink.size()));
    if (!url)
        co_return Failure{QStringLiteral("Document introuvable ; relance la recherche.")};
    co_await onPoolWaiting(openDocument, client_.workspace(), url->path);
    co_return std::nullopt;
}

Task<std::optional<LinkOpener::Failure>> LinkOpener::openPhoto(QString percentEncodedIdentifier) {
    WarningCopy warnings(client_);
    const PhotoOpener opener(client_.sharedPhotos(), client_.workspace(), warnings);
    co_await opener.open(std::move(percentEncodedIdentifier));
    if (warnings.text().isEmpty())
        co_return std::nullopt;
    co_return Failure{.reason = warnings.text(), .wasShown = warnings.hasScreen()};
}

} // namespace vennic
