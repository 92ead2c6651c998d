#include "backend/MessageBubble.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

constexpr auto user = ChatMessage::Role::user;
constexpr auto assistant = ChatMessage::Role::assistant;

std::vector<MarkdownRun> rendered(ChatMessage::Role role, const char* text) {
    return MessageBubble::renderedContent(role, QString::fromUtf8(text));
}

/// The runs in a short notation: `text`, behind its look: b, i, c, or the link's address.
QString shown(const char* text) {
    QStringList all;
    for (const MarkdownRun& run : rendered(assistant, text)) {
        QString look;
        for (const auto& [is, sign] : {std::pair{run.strong, u'b'}, {run.emphasis, u'i'}, {run.code, u'c'}})
            if (is)
                look += sign;
        if (!run.link.isEmpty())
            look += u'(' + run.link + u')';
        all.append(look + u'|' + run.text);
    }
    return all.join(u' ');
}

TEST(MessageBubble, aUsersTextIsNeverParsed) {
    const auto runs = rendered(user, "*a* <img src=x> [b](c)\n&amp;");
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0], MarkdownRun{.text = QStringLiteral("*a* <img src=x> [b](c)\n&amp;")});
}

TEST(MessageBubble, anAssistantsInlineMarkdownIsShown) {
    EXPECT_EQ(shown("**a** *b* `c` [d](https://x.fr/?a=1&b=2)"),
              QStringLiteral("b|a |  i|b |  c|c |  (https://x.fr/?a=1&b=2)|d"));
}

TEST(MessageBubble, linesStayLinesEmptyOnesToo) {
    EXPECT_EQ(shown("a\n\n# b\n*c\nd*"), QStringLiteral("|a\n\n# b\n*c\nd*"));
}

TEST(MessageBubble, aHostileReplyIsTextAndLinksAlone) {
    for (const char* hostile : {"<img src='http://evil/x'>", "<script>x</script>", "`<img src=x>`",
                                "<style>a{}</style>", "**<img/src=x>**"}) {
        QString text = QString::fromUtf8(hostile);
        text.remove(u'*').remove(u'`');
        EXPECT_EQ(MessageBubble::plainContent(assistant, QString::fromUtf8(hostile)), text) << "HTML is text";
    }
    for (const char* image : {"![x](http://evil/x)", "![x](data:image/png;base64,xx)", "![x](file:///etc/passwd)"})
        EXPECT_EQ(shown(image), QStringLiteral("|x")) << "an image is the text that stands for it";
}

TEST(MessageBubble, nothingToShowIsNoRun) {
    EXPECT_TRUE(rendered(user, "").empty());
    EXPECT_TRUE(rendered(assistant, "").empty());
    EXPECT_EQ(shown("\n"), QStringLiteral("|\n"));
}

TEST(MessageBubble, itsPlainFormIsWhatAReaderWouldSay) {
    EXPECT_EQ(MessageBubble::plainContent(assistant, QStringLiteral("**a** [b](c)\n`d`")), QStringLiteral("a b\nd"));
    EXPECT_EQ(MessageBubble::plainContent(user, QStringLiteral("**a**")), QStringLiteral("**a**"));
}

struct Link {
    QString document;
    QString photo;
    int calls = 0;
    bool follow(const char* url) {
        return MessageBubble::handleURL(QString::fromUtf8(url), {[this](const QString& id) {
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
    for (const char* url : {"vennic://local_file/open", "vennic://local_file/open/", "vennic://local_file/show/ID",
                            "vennic://local_photo/open/ID", "vennic://desktop/hallwarden_panel", "vennic:", "vennic://",
                            "vennic://%", "vennic://local_file:x/open/ID"}) {
        Link link;
        EXPECT_TRUE(link.follow(url)) << url;
        EXPECT_EQ(link.calls, 0) << url;
    }
}

TEST(MessageLink, ofAnybodyElseIsTheSystems) {
    for (const char* url :
         {"https://x.fr", "mailto:a@b.fr", "local_file/open/ID", "", "vennicx://local_file/open/ID",
          "VENNIC://LOCAL_FILE/open/ID", "Vennic://local_file/open/ID", "file:///vennic/local_file/open/ID"}) {
        Link link;
        EXPECT_FALSE(link.follow(url)) << url;
        EXPECT_EQ(link.calls, 0) << url;
    }
}

} // namespace
} // namespace vennic
