#include "app/LinkOpener.h"

#include "Bridge/PhotoOpener.h"
#include "backend/MessageBubble.h"
#include "base/LocalizedError.h"
#include "base/Pool.h"

#include <QUrl>

namespace vennic {

namespace {

/// What an address leads to; at most one of the two is there.
struct Target {
    bool isOwn = false; // an address of the program's own
    QString document{}; // a handle
    QString photo{};    // an identifier, percent-encoded
};

Target targetOf(const QString& address) {
    Target target;
    target.isOwn =
        MessageBubble::handleURL(address, {.openDocument = [&target](const QString& id) { target.document = id; },
                                           .openPhoto = [&target](const QString& id) { target.photo = id; }});
    return target;
}

void openFile(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& path) {
    workspace->open(path, std::move(stop));
}

void openURL(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& url) {
    workspace->openURL(url, std::move(stop));
}

/// Keeps what a warning says for who typed the command, and shows it to who is at the screen.
class WarningCopy final : public ModalDialogs {
public:
    WarningCopy(ModalDialogs& dialogs, Scope& warnings) : dialogs_(dialogs), warnings_(warnings) {}
    bool hasScreen() const override { return dialogs_.hasScreen(); }
    Task<DialogAnswer> ask(DialogQuestion question) override { return dialogs_.ask(std::move(question)); }
    Task<> warn(QString title, QString informativeText) override {
        text_ = informativeText;
        if (hasScreen())
            warnings_.start(dialogs_.warn(std::move(title), std::move(informativeText)));
        co_return;
    }
    bool isShowing() const override { return dialogs_.isShowing(); }
    void onClosed(std::function<void()>) override {} // who wants to know asks the client's own
    const QString& text() const { return text_; }

private:
    ModalDialogs& dialogs_;
    Scope& warnings_;
    QString text_;
};

} // namespace

Task<> LinkOpener::follow(QString address) {
    QString failure;
    try {
        co_await openTarget(std::move(address));
    } catch (const LocalizedError& error) {
        failure = error.errorDescription();
    }
    if (!failure.isEmpty())
        co_await with_.dialogs.warn(QStringLiteral("Vennic"), failure);
}

Task<> LinkOpener::openTarget(QString address) {
    const Target target = targetOf(address);
    if (!target.isOwn) {
        co_await onPoolWaiting(openURL, with_.workspace, QString::fromLatin1(QUrl(address).toEncoded()));
    } else if (!target.photo.isEmpty()) {
        const PhotoOpener opener(with_.photos, with_.workspace, with_.dialogs);
        co_await opener.open(target.photo);
    } else if (const auto file = with_.idCache.get(target.document)) {
        co_await onPoolWaiting(openFile, with_.workspace, file->path);
    }
}

Task<std::optional<QString>> LinkOpener::open(QString address) {
    const Target target = targetOf(address);
    if (!target.photo.isEmpty())
        co_return co_await openPhoto(target.photo);
    if (target.document.isEmpty())
        co_return QStringLiteral("Cette adresse n'est ni celle d'un document ni celle d'une photo : %1").arg(address);
    const auto file = with_.idCache.get(target.document);
    if (!file)
        co_return QStringLiteral("Document introuvable ; relance la recherche.");
    co_await onPoolWaiting(openFile, with_.workspace, file->path);
    co_return std::nullopt;
}

Task<std::optional<QString>> LinkOpener::openPhoto(QString percentEncodedIdentifier) {
    WarningCopy warnings(with_.dialogs, warnings_);
    const PhotoOpener opener(with_.photos, with_.workspace, warnings);
    co_await opener.open(std::move(percentEncodedIdentifier));
    co_return warnings.text().isEmpty() ? std::nullopt : std::optional(warnings.text());
}

} // namespace vennic
