#include "worker/RtfReader.h"

#include "worker/WorkerFolder.h"

#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::worker;

namespace {

std::optional<std::string> plain(std::string_view rtf, std::size_t chunk = std::string_view::npos) {
    RtfReader reader;
    for (std::size_t at = 0; at < rtf.size(); at += std::min(chunk, rtf.size() - at))
        reader.feed(rtf.substr(at, chunk));
    if (!reader.finish())
        return std::nullopt;
    return reader.text();
}

std::string sample(const QString& name) {
    return test::fileBytes(test::dataFolder() + QStringLiteral("/rtf/") + name).toStdString();
}

const QStringList samples{QStringLiteral("word"),        QStringLiteral("textedit"), QStringLiteral("wordpad"),
                          QStringLiteral("libreoffice"), QStringLiteral("japanese"), QStringLiteral("asia"),
                          QStringLiteral("europe"),      QStringLiteral("mac"),      QStringLiteral("picture"),
                          QStringLiteral("symbols"),     QStringLiteral("cut-short")};

} // namespace

TEST(RtfReader, readsTheSamplesOfManyPrograms) {
    for (const QString& name : samples)
        EXPECT_EQ(plain(sample(name + QStringLiteral(".rtf"))), sample(name + QStringLiteral(".txt")))
            << name.toStdString();
}

TEST(RtfReader, anyChunksGiveTheSameText) {
    for (const QString& name : samples) {
        const std::string rtf = sample(name + QStringLiteral(".rtf"));
        for (const std::size_t chunk : {1, 2, 3, 7, 64})
            EXPECT_EQ(plain(rtf, chunk), plain(rtf)) << name.toStdString() << " by " << chunk;
    }
}

TEST(RtfReader, everyBeginningOfADocumentIsReadWithoutHarm) {
    const std::string rtf = sample(QStringLiteral("word.rtf"));
    for (std::size_t length = 0; length < rtf.size(); ++length)
        EXPECT_EQ(plain(std::string_view(rtf).substr(0, length)).has_value(), length >= 5) << length;
}

TEST(RtfReader, refusesWhatDoesNotBeginAsRtf) {
    EXPECT_EQ(plain(""), std::nullopt);
    EXPECT_EQ(plain("{\\rt"), std::nullopt);
    EXPECT_EQ(plain(" {\\rtf1 a}"), std::nullopt);
    EXPECT_EQ(plain("\\rtf1 a"), std::nullopt);
    EXPECT_EQ(plain(sample(QStringLiteral("not.rtf"))), std::nullopt);
}

TEST(RtfReader, refusesGroupsThatAreNestedTooDeep) {
    EXPECT_EQ(plain("{\\rtf1 a" + std::string(1000, '{')), "a");
    EXPECT_EQ(plain("{\\rtf1 a" + std::string(1000000, '{')), std::nullopt);
}

TEST(RtfReader, leavesOutWhatIsNotBodyText) {
    EXPECT_EQ(plain("{\\rtf1 a{\\header h}{\\footerr f}{\\footnote n}{\\*\\unknown u{v}}{\\info{\\title t}}b}"), "ab");
    EXPECT_EQ(plain("{\\rtf1 a{\\field{\\*\\fldinst X}{\\fldrslt r}}b}"), "arb");
    EXPECT_EQ(plain("{\\rtf1 a{\\v hidden {nested}}\\v too\\v0 b\\v c\\plain d}"), "abd");
}

TEST(RtfReader, aStarHidesOnlyAGroupThatItBegins) { EXPECT_EQ(plain("{\\rtf1 {\\*\\zzz a}b{\\* \\b c}}"), "b c"); }

TEST(RtfReader, skipsBinaryDataWhateverItHolds) {
    EXPECT_EQ(plain("{\\rtf1 a{\\pict\\bin5 }}}}}}b}"), "ab");
    EXPECT_EQ(plain("{\\rtf1 a\\bin2 {{b}"), "ab");
    EXPECT_EQ(plain("{\\rtf1 a\\bin-2 b}"), "ab");
    EXPECT_EQ(plain("{\\rtf1 a\\bin99999999999999 b}"), "a");
}

TEST(RtfReader, leavesOutAsManyFallbackCharactersAsWereAnnounced) {
    EXPECT_EQ(plain("{\\rtf1 \\u8364?a}"), "€a");
    EXPECT_EQ(plain("{\\rtf1 \\uc0\\u8364 a}"), "€a");
    EXPECT_EQ(plain("{\\rtf1 \\uc2\\u8364\\'80?a}"), "€a");
    EXPECT_EQ(plain("{\\rtf1 {\\uc0 }\\u8364?a}"), "€a");
    EXPECT_EQ(plain("{\\rtf1 \\uc5{\\u8364 }abc}"), "€abc");
    EXPECT_EQ(plain("{\\rtf1 \\u8364\\par a}"), "€a");
    EXPECT_EQ(plain("{\\rtf1 \\u8364\\b a}"), "€a");
}

TEST(RtfReader, joinsHalvesAndReplacesWhatStandsAlone) {
    EXPECT_EQ(plain("{\\rtf1\\uc0\\u55357\\u56832}"), "😀");
    EXPECT_EQ(plain("{\\rtf1\\uc0\\u-10179\\u-8704}"), "😀");
    EXPECT_EQ(plain("{\\rtf1\\uc0\\u55357 a\\u56832 b\\u55357}"), "\uFFFDa\uFFFDb\uFFFD");
    EXPECT_EQ(plain("{\\rtf1\\uc0\\u99999999\\u-99999999\\u0 a}"), "\uFFFDa");
}

TEST(RtfReader, aBackslashBeforeALineEndIsAParagraph) { EXPECT_EQ(plain("{\\rtf1 a\\\nb\\\r\nc\r\nd}"), "a\nb\ncd"); }

TEST(RtfReader, partsCellsByTabsAndEndsRows) {
    EXPECT_EQ(plain("{\\rtf1\\trowd a\\cell b\\cell\\row c\\cell\\row d}"), "a\tb\nc\nd");
}

TEST(RtfReader, brokenHexadecimalIsReadAsText) {
    EXPECT_EQ(plain("{\\rtf1 a\\'zzb}"), "azzb");
    EXPECT_EQ(plain("{\\rtf1 a\\'4}b"), "a");
    EXPECT_EQ(plain("{\\rtf1 a\\'4\\par b}"), "a\nb");
}

TEST(RtfReader, hostileNumbersAndWordsAreHarmless) {
    EXPECT_EQ(
        plain("{\\rtf1\\f99999999999\\uc-5\\ansicpg-3\\cpg7 a" + std::string("\\") + std::string(100000, 'w') + " b}"),
        "ab");
}

TEST(RtfReader, givesAtMostThreeBytesForEachByte) {
    const std::string rtf = "{\\rtf1" + std::string(10000, '\x80');
    EXPECT_LE(plain(rtf)->size(), rtf.size() * 3);
    EXPECT_EQ(plain(rtf)->size(), 30000U);
}

TEST(CodePages, allKeepPlainAscii) {
    for (int codePage = 0; codePage < 10100; ++codePage) {
        CodePages pages;
        for (char byte = ' '; byte <= '~'; ++byte) {
            std::string text;
            pages.append(text, codePage, {&byte, 1});
            ASSERT_EQ(text, std::string(1, byte)) << codePage;
        }
    }
}

TEST(RtfReader, ignoresWhatFollowsTheDocument) { EXPECT_EQ(plain("{\\rtf1 a}b{c}"), "a"); }

#if defined(VENNIC_UNRTF)
namespace {

/// The text of the body of unrtf's HTML.
QString textOfHtml(QString html) {
    html.remove(0, html.indexOf(QStringLiteral("<body>")));
    html.replace(QRegularExpression(QStringLiteral("</?(b|i|u|span|font)[^>]*>")), QString());
    html.replace(QRegularExpression(QStringLiteral("<[^>]*>")), QStringLiteral(" "));
    const QHash<QString, QString> names{{QStringLiteral("eacute"), QStringLiteral("é")},
                                        {QStringLiteral("egrave"), QStringLiteral("è")},
                                        {QStringLiteral("agrave"), QStringLiteral("à")},
                                        {QStringLiteral("ecirc"), QStringLiteral("ê")}};
    QString text;
    qsizetype at = 0;
    static const QRegularExpression entity(QStringLiteral("&(#?)(\\w+);"));
    for (auto matches = entity.globalMatch(html); matches.hasNext();) {
        const auto match = matches.next();
        text += html.mid(at, match.capturedStart() - at);
        const char32_t number = match.captured(2).toUInt();
        text += match.captured(1).isEmpty() ? names.value(match.captured(2)) : QString::fromUcs4(&number, 1);
        at = match.capturedEnd();
    }
    return (text + html.mid(at)).simplified();
}

} // namespace

TEST(RtfReader, readsTheSameTextAsUnrtf) {
    // Samples that unrtf itself reads rightly.
    for (const char* name : {"wordpad", "asia", "mac", "cut-short"}) {
        const QString file = QString::fromLatin1(name) + QStringLiteral(".rtf");
        const test::WorkerFolder scratch; // it writes pictures where it stands
        QProcess unrtf;
        unrtf.setWorkingDirectory(scratch.path(QString()));
        unrtf.start(QStringLiteral(VENNIC_UNRTF), {QStringLiteral("--html"), QStringLiteral("--nopict"),
                                                   test::dataFolder() + QStringLiteral("/rtf/") + file});
        ASSERT_TRUE(unrtf.waitForFinished());
        const QString theirs = textOfHtml(QString::fromUtf8(unrtf.readAllStandardOutput()));
        const QString ours = QString::fromStdString(*plain(sample(file))).simplified();
        EXPECT_EQ(ours.toStdString(), theirs.toStdString()) << name;
    }
}
#endif
