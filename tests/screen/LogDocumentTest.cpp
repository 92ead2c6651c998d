#include "app/screen/LogDocument.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QTextBlock>
#include <QTextCursor>

#include <gtest/gtest.h>

namespace vennic {
namespace {

struct LogDocumentTest : testing::Test {
    QQmlEngine engine;
    std::unique_ptr<QObject> item;
    LogDocument log;

    LogDocumentTest() {
        QQmlComponent component(&engine);
        component.setData("import QtQuick\nTextEdit { textFormat: TextEdit.PlainText }", {});
        item.reset(component.create());
        log.setTextDocument(item->property("textDocument").value<QQuickTextDocument*>());
    }
    QTextDocument& document() { return *log.textDocument()->textDocument(); }
    /// The lines that the document shows.
    QStringList shown() {
        QStringList lines;
        for (QTextBlock block = document().begin(); block.isValid(); block = block.next())
            lines.append(block.text());
        return lines;
    }
    /// A selection of all of one line, which stays for as long as the line does.
    QTextCursor selectionOf(int line) {
        QTextCursor cursor(document().findBlockByNumber(line));
        cursor.select(QTextCursor::LineUnderCursor);
        return cursor;
    }
    static QStringList numbered(int from, int to) {
        QStringList lines;
        for (int i = from; i < to; ++i)
            lines.append(QStringLiteral("ligne %1").arg(i));
        return lines;
    }
};

TEST_F(LogDocumentTest, showsWhatWasThereBeforeItHadADocument) {
    LogDocument early;
    early.setLines(numbered(0, 3));
    early.setTextDocument(log.textDocument());
    EXPECT_EQ(shown(), numbered(0, 3));
}

TEST_F(LogDocumentTest, linesThatAreAppendedLeaveTheOthersAndWhatIsSelectedThere) {
    log.setLines(numbered(0, 3));
    const QTextCursor selected = selectionOf(1);
    log.setLines(numbered(0, 5));
    EXPECT_EQ(shown(), numbered(0, 5));
    EXPECT_EQ(selected.selectedText(), QStringLiteral("ligne 1"));
}

TEST_F(LogDocumentTest, linesThatGoAtTheBeginningLeaveTheOthersAndWhatIsSelectedThere) {
    log.setLines(numbered(0, 200));
    const QTextCursor selected = selectionOf(150);
    log.setLines(numbered(50, 250));
    EXPECT_EQ(shown(), numbered(50, 250));
    EXPECT_EQ(selected.selectedText(), QStringLiteral("ligne 150"));
}

TEST_F(LogDocumentTest, aLastLineThatChangedTakesThePlaceOfTheOneBefore) {
    log.setLines(numbered(0, 3) + QStringList{QStringLiteral("10%")});
    const QTextCursor selected = selectionOf(1);
    log.setLines(numbered(0, 3) + QStringList{QStringLiteral("20%")});
    EXPECT_EQ(shown(), numbered(0, 3) + QStringList{QStringLiteral("20%")});
    log.setLines(numbered(1, 3) + QStringList{QStringLiteral("30%"), QStringLiteral("fin")});
    EXPECT_EQ(shown(), numbered(1, 3) + (QStringList{QStringLiteral("30%"), QStringLiteral("fin")}));
    EXPECT_EQ(selected.selectedText(), QStringLiteral("ligne 1"));
}

TEST_F(LogDocumentTest, nothingInCommonIsWrittenAnew) {
    log.setLines(numbered(0, 3));
    log.setLines(numbered(7, 9));
    EXPECT_EQ(shown(), numbered(7, 9));
    log.setLines({});
    EXPECT_EQ(shown(), QStringList{QString()});
    log.setLines(numbered(0, 1));
    EXPECT_EQ(shown(), numbered(0, 1));
}

TEST_F(LogDocumentTest, noCharacterOfALineMakesAnotherLineOrLosesOne) {
    for (const char32_t c :
         {0x0A, 0x0D, 0x1B, 0x85, 0x2028, 0x2029, 0x202E, 0xFDD0, 0xFDD1, 0xFFFC, 0xFFFE, 0x10FFFF}) {
        const QString hostile = u'a' + QString::fromUcs4(&c, 1) + u'b';
        log.setLines({});
        QStringList lines;
        QStringList expected;
        // One by one, then from the beginning on: each step counts on the blocks of the one before.
        for (int i = 0; i < 6; ++i) {
            lines.append(i % 2 == 0 ? hostile : QStringLiteral("ligne %1").arg(i));
            expected.append(i % 2 == 0 ? QStringLiteral("a\uFFFDb") : lines.last());
            log.setLines(lines);
            EXPECT_EQ(shown(), expected) << std::hex << static_cast<unsigned>(c);
        }
        while (lines.size() > 1) {
            lines.removeFirst();
            expected.removeFirst();
            log.setLines(lines);
            EXPECT_EQ(shown(), expected) << std::hex << static_cast<unsigned>(c);
        }
    }
}

} // namespace
} // namespace vennic
