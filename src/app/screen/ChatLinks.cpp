#include "app/screen/ChatLinks.h"

#include "backend/MessageBubble.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vennic {

namespace {
constexpr qsizetype longest = 200; // characters of an address on the screen
} // namespace

ChatLinks::ChatLinks(AppSession& session, std::function<void(const QString&)> follow)
    : session_(session), follow_(std::move(follow)) {
    connect(&session, &AppSession::isStreamingChanged, this, &ChatLinks::isStreamingChanged);
}

void ChatLinks::follow(const QString& address) const { follow_(address); }

QString ChatLinks::shownAddress(const QString& address) const {
    QString shown;
    // Their own addresses name nothing that the user knows.
    MessageBubble::handleURL(address,
                             {.openDocument = [&](const QString&) { shown = QStringLiteral("Ouvrir ce document"); },
                              .openPhoto = [&](const QString&) { shown = QStringLiteral("Voir cette photo"); }});
    if (!shown.isEmpty())
        return shown;
    for (const QChar c : address) {
        if (c.isPrint() && c.category() != QChar::Other_Format)
            shown += c;
        if (shown.size() == longest)
            return shown + u'…';
    }
    return shown;
}

void ChatLinks::copy(const QString& text) const { QGuiApplication::clipboard()->setText(text); }

} // namespace vennic
