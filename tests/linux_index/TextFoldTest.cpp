#include "linux/index/TextFold.h"

#include "base/TextFolding.h"

#include <QString>

#include <gtest/gtest.h>
#include <random>

using vennic::index::foldedText;

namespace {

std::string reference(const QString& text) { return vennic::caseFolded(text).toStdString(); }

} // namespace

TEST(TextFold, givesWhatTheReferenceGivesForEveryCharacter) {
    for (char32_t code = 1; code < 0x20000; ++code) {
        if (code >= 0xD800 && code < 0xE000)
            continue;
        const QString text = QStringLiteral("Aé") + QString::fromUcs4(&code, 1) + QStringLiteral("Z");
        ASSERT_EQ(foldedText(text.toStdString()), reference(text)) << "U+" << std::hex << static_cast<unsigned>(code);
    }
}

TEST(TextFold, composesAccentsOnWhateverSideOfAChunkTheyStand) {
    for (int before = 0; before < 70; ++before) {
        const QString text =
            QString(before, u'x') + QString::fromUtf8("E\u0301LE\u0300VE Ångström ẞ ﬁn \u212B \u1100\u1161");
        EXPECT_EQ(foldedText(text.toStdString()), reference(text));
    }
    EXPECT_EQ(foldedText("e\u0301"), "\u00e9");
}

TEST(TextFold, givesWhatTheReferenceGivesForRandomText) {
    std::mt19937 random(7);
    const QString letters = QString::fromUtf8("aZ éÉ\u0301\u0327ßİıΣς\u0345ΔΙж한ㄱ日本。😀\u200D\t\n_-'’");
    for (int round = 0; round < 5000; ++round) {
        QString text;
        for (unsigned i = random() % 60; i > 0; --i)
            text += letters[static_cast<qsizetype>(random() % static_cast<unsigned>(letters.size()))];
        text = QString::fromUtf8(text.toUtf8()); // no halves of a pair
        ASSERT_EQ(foldedText(text.toStdString()), reference(text));
    }
}

TEST(TextFold, makesValidTextOfAnyBytes) {
    for (const std::string bytes :
         {"\xff", "a\xc3", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xc0\xaf", "x\x80y", "\xf0\x82\x82\xac"}) {
        const QByteArray raw = QByteArray::fromStdString(bytes);
        const std::string folded = foldedText(bytes);
        EXPECT_EQ(folded, reference(QString::fromUtf8(raw)));
        EXPECT_NE(folded.find("\xef\xbf\xbd"), std::string::npos);
    }
}
