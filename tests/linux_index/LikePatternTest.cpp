#include "linux/index/LikePattern.h"

#include "linux/index/TextFold.h"
#include "linux/index/WordSplit.h"
#include "linux_index/NaiveGlob.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace vennic::index;
using vennic::index::test::naiveLike;

bool like(const std::string& text, const std::string& pattern) {
    return LikePattern(pattern).matches(foldedText(text));
}

std::string randomText(std::mt19937& random, const std::vector<std::string>& letters, unsigned longest) {
    std::string text;
    for (unsigned i = random() % (longest + 1); i > 0; --i)
        text += letters[random() % letters.size()];
    return text;
}

const std::vector<std::string> letters{"a", "b", "A", "é", "É", "e\u0301", "-", "'", "’", ".", " ", "€", "日", "\n"};
const std::vector<std::string> patternLetters{"a",    "b",   "é", "E\u0301", "*", "*", "?", "\\*",
                                              "\\\\", "\\'", "-", ".",       "’", "€", " "};

TEST(LikePattern, followsItsGrammar) {
    EXPECT_TRUE(like("Facture", "facture"));
    EXPECT_FALSE(like("Factures", "facture"));
    EXPECT_TRUE(like("Factures", "*act*"));
    EXPECT_TRUE(like("Factures", "f*s"));
    EXPECT_FALSE(like("Factures", "f*t"));
    EXPECT_TRUE(like("é", "?"));
    EXPECT_FALSE(like("éa", "?"));
    EXPECT_TRUE(like("", ""));
    EXPECT_TRUE(like("", "*"));
    EXPECT_FALSE(like("", "?"));
    EXPECT_TRUE(like("l'eau", "*l\\'eau*"));
    EXPECT_TRUE(like("a\\b", "a\\\\b"));
    EXPECT_TRUE(like("a\\", "a\\"));
    EXPECT_TRUE(like("a*b", "a\\*b"));
    EXPECT_FALSE(like("axb", "a\\*b"));
    EXPECT_FALSE(like("facture", "*facturé*"));
    EXPECT_TRUE(like("a\nb", "a?b"));
}

TEST(LikePattern, matchesAsThePlainMatcherDoes) {
    std::mt19937 random(11);
    for (int round = 0; round < 60000; ++round) {
        const std::string text = randomText(random, letters, 12);
        const std::string pattern = randomText(random, patternLetters, 8);
        ASSERT_EQ(like(text, pattern), naiveLike(text, pattern)) << text << " LIKE " << pattern;
    }
}

TEST(LikePattern, itsPiecesHoldForEveryMatchAndDecideWhenItSaysSo) {
    std::mt19937 random(12);
    int exact = 0;
    for (int round = 0; round < 60000; ++round) {
        const std::string folded = foldedText(randomText(random, letters, 16));
        std::vector<std::string> words;
        splitWords(folded, [&](std::string_view word) { words.emplace_back(word); });
        const LikePattern pattern('*' + randomText(random, patternLetters, 4) + '*');
        const bool candidate = std::ranges::all_of(pattern.pieces(), [&](const std::string& piece) {
            return std::ranges::any_of(words,
                                       [&](const std::string& word) { return word.find(piece) != std::string::npos; });
        });
        const bool matches = pattern.matches(folded);
        ASSERT_TRUE(!matches || candidate) << folded;
        if (pattern.exact()) {
            ++exact;
            ASSERT_EQ(matches, candidate) << folded;
        }
    }
    EXPECT_GT(exact, 10000);
}

TEST(LikePattern, decidesWordsWithInnerConnectorsAndSingleSymbolsByTheirWords) {
    for (const char* exact : {"*facture*", "*l'eau*", "*2019-01*", "*a@b.fr*", "*e*", "*é*", "*€*", "*.*", "*"})
        EXPECT_TRUE(LikePattern(exact).exact()) << exact;
    for (const char* open : {"*m.*", "*.fr*", "*a b*", "*a?b*", "*a*b*", "facture", "*c++*", "*?*", "*\n*"})
        EXPECT_FALSE(LikePattern(open).exact()) << open;
    EXPECT_FALSE(LikePattern('*' + std::string(longestSurePiece + 1, 'x') + '*').exact());
}

TEST(LikePattern, givesUpWhenToldTo) {
    const std::atomic<bool> stop = true;
    EXPECT_FALSE(LikePattern("*a*b*").matches("ab", &stop));
}

TEST(WordSplit, cutsLongRunsSoThatEverySurePieceLiesInOne) {
    std::mt19937 random(13);
    for (int round = 0; round < 50; ++round) {
        const std::vector<std::string> some{"a", "b", "é", "日", "-", "’"};
        std::string run = "x";
        while (run.size() < 1500)
            run += some[random() % some.size()];
        run += "x";
        std::vector<std::string> words;
        splitWords(run, [&](std::string_view word) {
            EXPECT_LE(word.size(), longestWord);
            words.emplace_back(word);
        });
        for (std::size_t at = 0; at + longestSurePiece <= run.size(); ++at) {
            const std::string piece = run.substr(at, longestSurePiece);
            ASSERT_TRUE(
                std::ranges::any_of(words, [&](const auto& word) { return word.find(piece) != std::string::npos; }));
        }
    }
}

TEST(WordSplit, keepsInnerConnectorsAndGivesSymbolsAlone) {
    std::vector<std::string> words;
    splitWords("l'eau, d’eau. (fa-12) a_b 10/05/20 - € 日本", [&](std::string_view word) { words.emplace_back(word); });
    EXPECT_EQ(words, (std::vector<std::string>{"l'eau", ",", "d’eau", ".", "(", "fa-12", ")", "a_b", "10/05/20", "-",
                                               "€", "日本"}));
}

} // namespace
