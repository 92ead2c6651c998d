#include "backend/MessageBubble.h"

#include "base/InlineMarkdown.h"

namespace vennic::MessageBubble {

namespace {

/// Text that rich text shows as it is: its marks, blanks and line ends stay.
QString escaped(const QString& text) {
    QString html = text.toHtmlEscaped();
    html.replace(u'\n', QStringLiteral("<br>"));
    return html;
}

QString richRun(const MarkdownRun& run) {
    QString html = escaped(run.text);
    if (run.code)
        html = QStringLiteral("<code>%1</code>").arg(html);
    if (run.emphasis)
        html = QStringLiteral("<i>%1</i>").arg(html);
    if (run.strong)
        html = QStringLiteral("<b>%1</b>").arg(html);
    if (!run.link.isEmpty())
        html = QStringLiteral("<a href=\"") + run.link.toHtmlEscaped() + QStringLiteral("\">") + html +
               QStringLiteral("</a>");
    return html;
}

/// `content` line by line, each made into text by `show`, joined by `lineEnd`.
template <class F>
QString joinedLines(const QString& content, const QString& lineEnd, F show) {
    QStringList lines;
    for (const QString& line : content.split(u'\n')) {
        QString shown;
        for (const MarkdownRun& run : parseInlineMarkdown(line))
            shown += show(run);
        lines.append(shown);
    }
    return lines.join(lineEnd);
}

/// The parts of a path between its slashes; the first slash is not one.
QStringList components(const QUrl& url) { return url.path(QUrl::FullyEncoded).split(u'/', Qt::SkipEmptyParts); }

} // namespace

QString renderedContent(const ChatMessage& message) {
    const QString body = message.role == ChatMessage::Role::user
                             ? escaped(message.content)
                             : joinedLines(message.content, QStringLiteral("<br>"), richRun);
    return QStringLiteral("<span style=\"white-space: pre-wrap\">") + body + QStringLiteral("</span>");
}

QString plainContent(const ChatMessage& message) {
    if (message.role == ChatMessage::Role::user)
        return message.content;
    return joinedLines(message.content, QStringLiteral("\n"), [](const MarkdownRun& run) { return run.text; });
}

bool handleURL(const QUrl& url, const LinkActions& actions) {
    if (url.scheme() != u"vennic")
        return false;
    const QStringList parts = components(url);
    if (parts.size() < 2)
        return true;
    if (url.host() == u"local_file" && parts[0] == u"open")
        actions.openDocument(QUrl::fromPercentEncoding(parts[1].toLatin1()));
    else if (url.host() == u"local_photo" && parts[0] == u"view")
        actions.openPhoto(parts[1]);
    return true;
}

} // namespace vennic::MessageBubble
