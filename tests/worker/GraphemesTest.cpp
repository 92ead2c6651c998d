#include "base/Characters.h"
#include "base/Utf8.h"

#include <array>
#include <gtest/gtest.h>
#include <random>
#include <unicode/brkiter.h>

using namespace vennic;

namespace {

std::string utf8(std::u16string_view text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())).toStdString();
}

/// Ends of the characters by ICU, in UTF-16.
std::vector<std::size_t> icuEnds(icu::BreakIterator& characters, const std::u16string& text) {
    const icu::UnicodeString view(false, text.data(), static_cast<int32_t>(text.size()));
    characters.setText(view);
    std::vector<std::size_t> ends;
    for (int32_t end = characters.next(); end != icu::BreakIterator::DONE; end = characters.next())
        ends.push_back(static_cast<std::size_t>(end));
    return ends;
}

std::u16string randomText(std::mt19937& random, int most) {
    static constexpr auto pool = std::to_array<char32_t>(
        {'a',     'b',     '\r',    '\n',   '\t',   0xA9,    0xAD,    0xE9,   0x301,  0x308,   0x200D, 0x1F468,
         0x1F469, 0x1F466, 0x1F3FD, 0x2764, 0xFE0F, 0x1F1EB, 0x1F1F7, 0x1100, 0x1161, 0x11A8,  0xAC00, 0xAC01,
         0x600,   0x903,   0x93F,   0x915,  0x937,  0x94D,   0x93C,   0xE33,  0x200B, 0x110BD, 0x2019, 0x20AC,
         0xE0061, 0xE007F, 0x1F3F4, 0x2FF,  0x300,  0x7F,    0,       0x200C, 0x9CD,  0x995,   0xB15,  0xB4D});
    const auto ranged = [&](char32_t from, char32_t to) {
        return std::uniform_int_distribution<char32_t>(from, to)(random);
    };
    QString text;
    const int length = std::uniform_int_distribution<int>(0, most)(random);
    for (int i = 0; i < length; ++i) {
        char32_t c = 0;
        switch (ranged(0, 5)) {
        case 0:
            c = ranged(0x20, 0x7E);
            break;
        case 1:
            c = ranged(0xA0, 0x2FF);
            break;
        case 2:
            c = ranged(0x300, 0xD7FF);
            break;
        case 3:
            c = ranged(0x1F000, 0x1FAFF);
            break;
        default:
            c = pool[ranged(0, pool.size() - 1)];
        }
        text += QString::fromUcs4(&c, 1);
        // Runs make the blocks of the quick path.
        if (ranged(0, 9) == 0)
            text += QString(static_cast<int>(ranged(1, 80)), QChar(u'x')) + QStringLiteral("é");
    }
    return text.toStdU16String();
}

} // namespace

TEST(Graphemes, agreesWithIcuOnRandomTextsInBothEncodings) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), error));
    ASSERT_TRUE(U_SUCCESS(error));
    std::mt19937 random(20240501);
    for (int round = 0; round < 20000; ++round) {
        const std::u16string text = randomText(random, 40);
        const std::string bytes = utf8(text);
        const std::vector<std::size_t> ends = icuEnds(*characters, text);
        ASSERT_EQ(graphemeCount(text), ends.size()) << bytes;
        ASSERT_EQ(graphemeCount(bytes), ends.size()) << bytes;
        const std::size_t most = std::uniform_int_distribution<std::size_t>(0, ends.size() + 1)(random);
        const std::size_t end = most == 0 ? 0 : most <= ends.size() ? ends[most - 1] : text.size();
        const GraphemeCut expected{std::min(most, ends.size()), end};
        ASSERT_EQ(cutGraphemes(text, most), expected) << bytes;
        ASSERT_EQ(cutGraphemes(bytes, most).length, utf8(text.substr(0, end)).size()) << bytes;
    }
}

TEST(Graphemes, countsWhatAReaderSeesAsOne) {
    EXPECT_EQ(graphemeCount("\r\n"), 1U);
    EXPECT_EQ(graphemeCount("\n\r"), 2U);
    EXPECT_EQ(graphemeCount("e\u0301"), 1U);
    EXPECT_EQ(graphemeCount("👨‍👩‍👧‍👦"), 1U);
    EXPECT_EQ(graphemeCount("🇫🇷🇩🇪"), 2U);
    EXPECT_EQ(graphemeCount("각"), 1U);
    EXPECT_EQ(graphemeCount("क्ष"), 1U);
    EXPECT_EQ(graphemeCount(""), 0U);
}

TEST(Graphemes, neverSplitsALineEndAtTheEdgeOfABlock) {
    for (std::size_t before = 0; before < 130; ++before) {
        const std::string text = std::string(before, 'a') + "\r\nb";
        EXPECT_EQ(graphemeCount(text), before + 2);
        EXPECT_EQ(cutGraphemes(text, before + 1), (GraphemeCut{before + 1, before + 2}));
    }
}

TEST(Graphemes, keepsACombiningMarkWithTheEndOfAPlainRun) {
    for (std::size_t before = 1; before < 130; ++before) {
        const std::string text = std::string(before, 'a') + "\u0301" + std::string(70, 'b');
        EXPECT_EQ(graphemeCount(text), before + 70);
        EXPECT_EQ(cutGraphemes(text, before), (GraphemeCut{before, before + 2}));
    }
}

TEST(Graphemes, joinsACopyrightSignAcrossAJoinerBeforeAPlainRun) {
    const std::string text = "©\u200D©" + std::string(64, 'a');
    EXPECT_EQ(graphemeCount(text), 65U);
}

TEST(Graphemes, halfAPairCountsAsOne) {
    EXPECT_EQ(graphemeCount(std::u16string(1, u'\xD83D')), 1U);
    EXPECT_EQ(graphemeCount(std::u16string{u'a', u'\xDE00', u'b'}), 3U);
}

TEST(Characters, cutsAString) {
    EXPECT_EQ(firstCharacters(QStringLiteral("e\u0301te\u0301"), 2), QStringLiteral("e\u0301t"));
    EXPECT_EQ(firstCharacters(QStringLiteral("abc"), -1), QString());
    EXPECT_EQ(characterCount(QStringLiteral("🇫🇷!")), 2);
}

TEST(Utf8, refusesOverlongFormsSurrogatesAndNumbersTooHigh) {
    for (const std::string_view bad : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                                       "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\x80", "\xE2\x82", "a\xFF", "\xC3"})
        EXPECT_FALSE(isUtf8(bad));
    for (const std::string_view good : {"", "é", "€", "😀", "\xEF\xBF\xBD", "\xF4\x8F\xBF\xBF", "\xED\x9F\xBF"})
        EXPECT_TRUE(isUtf8(good)) << good;
}

TEST(Utf8, findsABadByteAnywhereInALongText) {
    for (std::size_t at = 0; at < 100; ++at) {
        std::string text(100, 'a');
        text[at] = '\xE9';
        EXPECT_FALSE(isUtf8(text)) << at;
    }
}
