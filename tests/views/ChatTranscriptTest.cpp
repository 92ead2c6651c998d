#include "backend/ChatTranscript.h"

#include "backend/ToolLine.h"
#include "base/InlineMarkdown.h"
#include "core/SessionFixture.h"

#include <QElapsedTimer>

namespace vennic {
namespace {

struct ChatTranscriptTest : test::SessionFixture {
    std::unique_ptr<ChatTranscript> made;
    QStringList told; // what the views were told, in short

    ChatTranscript& transcript() {
        if (!made) {
            made = std::make_unique<ChatTranscript>(session());
            using Model = QAbstractItemModel;
            QObject::connect(made.get(), &Model::rowsInserted, made.get(), [this](const QModelIndex&, int a, int b) {
                told.append(QStringLiteral("+%1-%2").arg(a).arg(b));
            });
            QObject::connect(made.get(), &Model::rowsRemoved, made.get(), [this](const QModelIndex&, int a, int b) {
                told.append(QStringLiteral("-%1-%2").arg(a).arg(b));
            });
            QObject::connect(made.get(), &Model::dataChanged, made.get(),
                             [this](const QModelIndex& a, const QModelIndex& b) {
                                 told.append(QStringLiteral("~%1-%2").arg(a.row()).arg(b.row()));
                             });
        }
        return *made;
    }
    void say(const QString& text, ChatMessage::Role role = ChatMessage::Role::assistant) {
        session().appendMessage(ChatMessage::make(role, text, QDateTime::currentDateTimeUtc()));
    }
    /// Waits until the transcript has caught up with the session.
    void caughtUp(int messages) {
        EXPECT_TRUE(test::waitUntil([&] { return transcript().messageCount() == messages; }));
    }
    QStringList rows() {
        QStringList texts;
        for (int row = 0; row < transcript().rowCount(); ++row)
            texts.append(transcript().data(transcript().index(row), ChatTranscript::plain).toString());
        return texts;
    }
    bool flag(int row, int role) { return transcript().data(transcript().index(row), role).toBool(); }
};

TEST_F(ChatTranscriptTest, aMessageIsOneRowOfTheOneWhoSpeaks) {
    say(QStringLiteral("**a**"), ChatMessage::Role::user);
    say(QStringLiteral("**a**"));
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("**a**"), QStringLiteral("a")}));
    EXPECT_TRUE(flag(0, ChatTranscript::fromUser));
    EXPECT_FALSE(flag(1, ChatTranscript::fromUser));
    EXPECT_TRUE(flag(1, ChatTranscript::begins));
    EXPECT_TRUE(flag(1, ChatTranscript::ends));
}

TEST_F(ChatTranscriptTest, anEmptyMessageIsARowToo) {
    say({});
    EXPECT_EQ(rows(), QStringList{QString()});
}

TEST_F(ChatTranscriptTest, aLongMessageIsRowsWhoseLinesAreTheMessages) {
    QStringList lines;
    for (int i = 0; i < 500; ++i)
        lines.append(QStringLiteral("ligne %1 %2").arg(i).arg(QString(i % 90, u'x')));
    const QString text = lines.join(u'\n');
    say(text);
    EXPECT_GT(transcript().rowCount(), 10);
    EXPECT_EQ(rows().join(u'\n'), text);
    for (const QString& row : rows()) {
        EXPECT_LE(row.size(), ChatTranscript::rowSize);
        EXPECT_LT(row.count(u'\n'), ChatTranscript::rowLines);
    }
    EXPECT_TRUE(flag(0, ChatTranscript::begins));
    EXPECT_FALSE(flag(1, ChatTranscript::begins));
    EXPECT_TRUE(flag(transcript().rowCount() - 1, ChatTranscript::ends));
    EXPECT_EQ(transcript().messageText(3), text);
}

TEST_F(ChatTranscriptTest, aLongLineIsCutAfterItsMarksAreUnderstood) {
    // The emphasis begins in one row and ends in another one.
    const QString inside = QStringLiteral("mot ").repeated(1200).trimmed();
    say(QStringLiteral("avant **") + inside + QStringLiteral("** après"));
    EXPECT_GT(transcript().rowCount(), 2);
    EXPECT_EQ(rows().join(QString()), QStringLiteral("avant ") + inside + QStringLiteral(" après"));
    const auto runs =
        qvariant_cast<std::vector<MarkdownRun>>(transcript().data(transcript().index(1), ChatTranscript::runs));
    ASSERT_FALSE(runs.empty());
    EXPECT_TRUE(runs.front().strong);
}

TEST_F(ChatTranscriptTest, aLongLineOfMarksAloneIsARowToo) {
    const QString nothing = QStringLiteral("[](x)").repeated(500);
    for (const QString& before : {QString(), QStringLiteral("a\n"), QStringLiteral("a\n").repeated(200)}) {
        session().clearConversation();
        session().appendMessage(
            ChatMessage::make(ChatMessage::Role::assistant, before + nothing, QDateTime::currentDateTimeUtc()));
        made.reset();
        const int rowsOfIt = transcript().rowCount();
        EXPECT_GE(rowsOfIt, 1);
        EXPECT_EQ(rows().last(), QString());
        session().setMessageContent(0, before + nothing + QStringLiteral("[](y)"));
        session().setMessageContent(0, before + nothing + QStringLiteral("\n\nVoilà"));
        EXPECT_TRUE(test::waitUntil([&] { return rows().last().endsWith(QStringLiteral("Voilà")); }));
        EXPECT_GT(transcript().rowCount(), rowsOfIt);
    }
}

TEST_F(ChatTranscriptTest, aCharacterOfTwoUnitsIsNeverCut) {
    QString text;
    while (text.size() < 3 * ChatTranscript::rowSize)
        text += QStringLiteral("😀");
    say(u'a' + text, ChatMessage::Role::user);
    for (const QString& row : rows()) {
        EXPECT_FALSE(row.front().isLowSurrogate());
        EXPECT_FALSE(row.back().isHighSurrogate());
    }
    EXPECT_EQ(rows().join(QString()), u'a' + text);
}

TEST_F(ChatTranscriptTest, ofAToolsEndlessNameTheBeginningIsOneRow) {
    const QString endless(10'000, u'n');
    for (const QString& whole : {toolLine(QStringLiteral("OCR du document")), toolLine(endless.left(200)),
                                 toolLine(endless + QStringLiteral(" et la suite")), QStringLiteral("🔧 ") + endless}) {
        say(whole);
        EXPECT_EQ(rows().join(QString()), whole);
        session().clearConversation();
        made.reset();
    }
    say(toolLine(endless), ChatMessage::Role::user);
    EXPECT_EQ(rows().join(QString()), toolLine(endless));
    say(toolLine(endless));
    caughtUp(2);
    EXPECT_EQ(rows().last(), toolLine(endless.left(200)));
    EXPECT_TRUE(flag(transcript().rowCount() - 1, ChatTranscript::begins));
    EXPECT_TRUE(flag(transcript().rowCount() - 1, ChatTranscript::ends));
    EXPECT_EQ(transcript().messageText(transcript().rowCount() - 1), toolLine(endless));
    session().setMessageContent(1, QStringLiteral("Voilà"));
    ASSERT_TRUE(test::waitUntil([this] { return rows().last() == QStringLiteral("Voilà"); }));
}

TEST_F(ChatTranscriptTest, aPieceOfAnAnswerTouchesTheLastRowAlone) {
    say(QStringLiteral("a\n").repeated(3000));
    transcript();
    told.clear();
    const int before = transcript().rowCount();
    session().setMessageContent(0, QStringLiteral("a\n").repeated(3000) + QStringLiteral("fin"));
    ASSERT_TRUE(test::waitUntil([this] { return !told.isEmpty(); }));
    EXPECT_EQ(told, QStringList{QStringLiteral("~%1-%1").arg(before - 1)});
    EXPECT_TRUE(rows().last().endsWith(QStringLiteral("fin")));
}

TEST_F(ChatTranscriptTest, anAnswerThatGrowsPieceByPieceIsTheAnswerAtOnce) {
    QString text;
    for (int i = 0; i < 400; ++i)
        text +=
            i % 7 == 0 ? QStringLiteral("*mot* `code`\n") : QStringLiteral("suite %1 [lien](https://x.fr/%1) ").arg(i);
    text += QStringLiteral("x").repeated(5000);
    say({});
    transcript();
    for (qsizetype end = 0; end < text.size(); end += 331) {
        session().setMessageContent(0, text.left(end));
        test::waitUntil([&] { return transcript().messageText(0).size() > 0 || end == 0; });
        settle();
    }
    session().setMessageContent(0, text);
    ASSERT_TRUE(test::waitUntil([&] {
        return transcript().messageText(0).endsWith(QStringLiteral("xxx")) &&
               rows().join(QString()).count(u'x') >= 5000;
    }));
    const QStringList grown = rows();
    made.reset();
    EXPECT_EQ(grown, rows());
}

TEST_F(ChatTranscriptTest, anAnswerThatIsReplacedByAShorterOneLosesRows) {
    say(QStringLiteral("a\n").repeated(3000));
    transcript();
    session().setMessageContent(0, QStringLiteral("court"));
    ASSERT_TRUE(test::waitUntil([this] { return transcript().rowCount() == 1; }));
    EXPECT_EQ(rows(), QStringList{QStringLiteral("court")});
}

TEST_F(ChatTranscriptTest, aClearedConversationHasNoRows) {
    say(QStringLiteral("a"));
    say(QStringLiteral("b"));
    transcript();
    session().clearConversation();
    caughtUp(0);
    EXPECT_EQ(transcript().rowCount(), 0);
    EXPECT_TRUE(told.contains(QStringLiteral("-0-1")));
    EXPECT_EQ(transcript().messageText(0), QString());
}

TEST_F(ChatTranscriptTest, aMessageInTheMiddleThatChangesIsFollowed) {
    for (const char* text : {"a", "b", "c"})
        say(QString::fromUtf8(text));
    transcript();
    session().setMessageContent(1, QStringLiteral("B"));
    ASSERT_TRUE(test::waitUntil([this] { return rows().value(1) == QStringLiteral("B"); }));
    EXPECT_EQ(rows().join(QString()), QStringLiteral("aBc"));
}

TEST_F(ChatTranscriptTest, manyChangesInAMomentAreFollowedOnce) {
    say(QStringLiteral("a"));
    transcript();
    test::waitUntil([] { return false; }, std::chrono::milliseconds{40});
    told.clear();
    for (int i = 0; i < 100; ++i)
        session().setMessageContent(0, QStringLiteral("a").repeated(i + 2));
    ASSERT_TRUE(test::waitUntil([this] { return rows().first().size() == 101; }));
    EXPECT_EQ(told.size(), 2) << "the first at once, the others together";
}

} // namespace
} // namespace vennic
