#include "backend/MessageBubble.h"

#include <QUrl>

namespace vennic::MessageBubble {

namespace {

/// The parts of a path between its slashes; the first slash is not one.
QStringList components(const QUrl& url) { return url.path(QUrl::FullyEncoded).split(u'/', Qt::SkipEmptyParts); }

} // namespace

std::vector<MarkdownRun> renderedContent(ChatMessage::Role role, const QString& text) {
    std::vector<MarkdownRun> runs;
    const auto add = [&runs](MarkdownRun run) {
        MarkdownRun look = run;
        if (!runs.empty()) {
            look.text = runs.back().text;
            if (look == runs.back()) {
                runs.back().text += run.text;
                return;
            }
        }
        if (!run.text.isEmpty())
            runs.push_back(std::move(run));
    };
    if (role == ChatMessage::Role::user) {
        add({.text = text});
        return runs;
    }
    bool first = true;
    for (const QString& line : text.split(u'\n')) {
        if (!first)
            add({.text = QStringLiteral("\n")});
        first = false;
        for (MarkdownRun& run : parseInlineMarkdown(line))
            add(std::move(run));
    }
    return runs;
}

QString plainContent(ChatMessage::Role role, const QString& text) {
    QString plain;
    for (const MarkdownRun& run : renderedContent(role, text))
        plain += run.text;
    return plain;
}

bool handleURL(const QString& address, const LinkActions& actions) {
    if (!address.startsWith(u"vennic:")) // a QUrl spells every scheme in lower case
        return false;
    const QUrl url(address);
    const QStringList parts = components(url);
    if (!url.isValid() || parts.size() < 2)
        return true;
    if (url.host() == u"local_file" && parts[0] == u"open")
        actions.openDocument(QUrl::fromPercentEncoding(parts[1].toLatin1()));
    else if (url.host() == u"local_photo" && parts[0] == u"view")
        actions.openPhoto(parts[1]);
    return true;
}

} // namespace vennic::MessageBubble
