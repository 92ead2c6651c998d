#include "backend/MessageBubble.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace vennic {
namespace {

ChatMessage message(ChatMessage::Role role, const char* text) { return {{}, role, QString::fromUtf8(text), {}}; }

QString rich(ChatMessage::Role role, const char* text) {
    QString html = MessageBubble::renderedContent(message(role, text));
    const auto opening = QStringLiteral("<span style=\"white-space: pre-wrap\">");
    EXPECT_TRUE(html.startsWith(opening) && html.endsWith(QStringLiteral("</span>")));
    html.remove(0, opening.size());
    html.chop(7);
    return html;
}

QString ofUser(const char* text) { return rich(ChatMessage::Role::user, text); }
QString ofAssistant(const char* text) { return rich(ChatMessage::Role::assistant, text); }

TEST(MessageBubble, aUsersTextIsNeverParsed) {
    EXPECT_EQ(ofUser("*a* <img src=x> [b](c)\n&amp;"), QStringLiteral("*a* &lt;img src=x&gt; [b](c)<br>&amp;amp;"));
}

TEST(MessageBubble, anAssistantsInlineMarkdownIsShown) {
    EXPECT_EQ(ofAssistant("**a** *b* `c` [d](https://x.fr/?a=1&b=2)"),
              QStringLiteral("<b>a</b> <i>b</i> <code>c</code> <a href=\"https://x.fr/?a=1&amp;b=2\">d</a>"));
}

TEST(MessageBubble, linesStayLinesEmptyOnesToo) {
    EXPECT_EQ(ofAssistant("a\n\n# b\n*c\nd*"), QStringLiteral("a<br><br># b<br>*c<br>d*"));
}

TEST(MessageBubble, aHostileReplyLoadsNothingAndEscapesNothing) {
    for (const char* hostile :
         {"<img src='http://evil/x'>", "![x](http://evil/x)", "<script>x</script>", "[a](\"><img src=x>)",
          "[<img src=x>](y)", "`<img src=x>`", "<http://evil/\"onload=x>", "![a](data:image/png;base64,xx)",
          "[![a](file:///etc/passwd)](x)", "<style>*{}</style>", "**<img/src=x>**", "[a](<\"><img src=x>>)"}) {
        const QString html = ofAssistant(hostile);
        QString rest = html;
        for (const char* allowed : {"<b>", "</b>", "<i>", "</i>", "<code>", "</code>", "<br>", "</a>"})
            rest.remove(QString::fromUtf8(allowed));
        static const QRegularExpression anchor(QStringLiteral("<a href=\"[^\"<>]*\">"));
        rest.remove(anchor);
        EXPECT_FALSE(rest.contains(u'<') || rest.contains(u'>')) << html.toStdString();
    }
}

TEST(MessageBubble, itsPlainFormIsWhatAReaderWouldSay) {
    EXPECT_EQ(MessageBubble::plainContent(message(ChatMessage::Role::assistant, "**a** [b](c)\n`d`")),
              QStringLiteral("a b\nd"));
    EXPECT_EQ(MessageBubble::plainContent(message(ChatMessage::Role::user, "**a**")), QStringLiteral("**a**"));
}

struct Link {
    QString document;
    QString photo;
    int calls = 0;
    bool follow(const char* url) {
        return MessageBubble::handleURL(QUrl(QString::fromUtf8(url)), {[this](const QString& id) {
                                                                           document = id;
                                                                           ++calls;
                                                                       },
                                                                       [this](const QString& id) {
                                                                           photo = id;
                                                                           ++calls;
                                                                       }});
    }
};

TEST(MessageLink, ofADocumentOpensIt) {
    Link link;
    EXPECT_TRUE(link.follow("vennic://local_file/open/0F0E-ID"));
    EXPECT_EQ(link.document, QStringLiteral("0F0E-ID"));
    EXPECT_EQ(link.calls, 1);
}

TEST(MessageLink, ofAPhotoPassesItsIdentifierStillEncoded) {
    Link link;
    EXPECT_TRUE(link.follow("vennic://local_photo/view/AB%2FL0%2F001"));
    EXPECT_EQ(link.photo, QStringLiteral("AB%2FL0%2F001"));
}

TEST(MessageLink, ofTheProgramThatSaysNothingDoesNothing) {
    for (const char* url :
         {"vennic://local_file/open", "vennic://local_file/open/", "vennic://local_file/show/ID",
          "vennic://local_photo/open/ID", "vennic://desktop/hallwarden_panel", "vennic:", "vennic://"}) {
        Link link;
        EXPECT_TRUE(link.follow(url)) << url;
        EXPECT_EQ(link.calls, 0) << url;
    }
}

TEST(MessageLink, ofAnybodyElseIsTheSystems) {
    for (const char* url : {"https://x.fr", "mailto:a@b.fr", "local_file/open/ID", "", "vennicx://local_file/open/ID",
                            "file:///vennic/local_file/open/ID"}) {
        Link link;
        EXPECT_FALSE(link.follow(url)) << url;
        EXPECT_EQ(link.calls, 0) << url;
    }
}

} // namespace
} // namespace vennic
