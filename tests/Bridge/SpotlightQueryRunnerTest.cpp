#include "Bridge/SpotlightQueryRunner.h"

#include "Bridge/FileIndexScript.h"
#include "fakes/FileSystemFake.h"
#include "support/Await.h"
#include "support/TestClock.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <limits>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

QStringList words(const char16_t* text) { return QStringView(text).toString().split(u' ', Qt::SkipEmptyParts); }
QDateTime day(int number) { return {QDate(2025, 1, number), QTime(0, 0), Qt::UTC}; }

IndexItem item(const char16_t* path) {
    IndexItem made;
    made.path = QStringView(path).toString();
    return made;
}
SearchResult named(const char16_t* name, std::optional<QDateTime> at = {}) {
    SearchResult made;
    made.name = QStringView(name).toString();
    made.modifiedAt = at;
    return made;
}
QString names(const std::vector<SearchResult>& results) {
    QStringList all;
    for (const SearchResult& result : results)
        all.append(result.name);
    return all.join(u' ');
}

struct SpotlightQueryRunnerTest : ::testing::Test {
    FileIndexScript index;
    std::shared_ptr<FileSystemFake> files = std::make_shared<FileSystemFake>();
    TestClock clock;
    std::vector<std::vector<SearchResult>> completed;

    /// A finished runner goes a turn of the loop later, and before what it works with.
    void TearDown() override { QCoreApplication::sendPostedEvents(); }
    std::weak_ptr<SpotlightQueryRunner> start(FileIndexScript::Answer answer, qint64 limit = 10, double timeout = 5.0) {
        index.answers.push_back(std::move(answer));
        SpotlightQueryRunner::Question question{{}, {FileURL{QStringLiteral("/d")}}, limit, timeout};
        auto runner = std::make_shared<SpotlightQueryRunner>(
            index, files, clock, question, [this](std::vector<SearchResult> results) { completed.push_back(results); });
        runner->start();
        return runner;
    }
    void settle() const {
        waitUntil([this] { return index.live == 0; }, 300ms);
    }
};

} // namespace

TEST_F(SpotlightQueryRunnerTest, wordsAreSplitAtWhiteSpaceAndKeptAsTheyStand) {
    EXPECT_EQ(SpotlightQueryRunner::tokenize(QStringLiteral("  Le  EDF\tde\n2024\u00a0x ")),
              (QStringList{QStringLiteral("Le"), QStringLiteral("EDF"), QStringLiteral("de"), QStringLiteral("2024"),
                           QStringLiteral("x")}));
    EXPECT_TRUE(SpotlightQueryRunner::tokenize(QStringLiteral(" \t\n\u3000")).isEmpty());
    EXPECT_TRUE(SpotlightQueryRunner::tokenize({}).isEmpty());
}

TEST_F(SpotlightQueryRunnerTest, aTokenStandsBetweenStarsWithItsBackslashesAndApostrophesEscaped) {
    const auto predicate = SpotlightQueryRunner::andPredicate(words(u"l'été a\\b a\\'b x*y"));
    EXPECT_EQ(predicate.patterns, (QStringList{QStringLiteral("*l\\'été*"), QStringLiteral("*a\\\\b*"),
                                               QStringLiteral("*a\\\\\\'b*"), QStringLiteral("*x*y*")}));
    EXPECT_EQ(predicate.anyOf, (std::vector<std::vector<int>>{{0, 1, 2, 3}}));
}

TEST_F(SpotlightQueryRunnerTest, noTokenAtAllMatchesNothing) {
    EXPECT_EQ(SpotlightQueryRunner::andPredicate({}), IndexPredicate{});
    EXPECT_EQ(SpotlightQueryRunner::orOfSubsetsPredicate({}, 1), IndexPredicate{});
}

TEST_F(SpotlightQueryRunnerTest, theRelaxedPredicateForgivesOneTokenWhicheverItIs) {
    const auto predicate = SpotlightQueryRunner::orOfSubsetsPredicate(words(u"a b c"), 1);
    EXPECT_EQ(predicate.patterns, (QStringList{QStringLiteral("*a*"), QStringLiteral("*b*"), QStringLiteral("*c*")}));
    EXPECT_EQ(predicate.anyOf, (std::vector<std::vector<int>>{{0, 1}, {0, 2}, {1, 2}}));
}

TEST_F(SpotlightQueryRunnerTest, droppingAtLeastOneAndKeepingAtLeastOne) {
    using Groups = std::vector<std::vector<int>>;
    const auto groups = [](const char16_t* tokens, int drop) {
        return SpotlightQueryRunner::orOfSubsetsPredicate(words(tokens), drop).anyOf;
    };
    EXPECT_EQ(groups(u"a b", 0), (Groups{{0}, {1}}));
    EXPECT_EQ(groups(u"a b", -3), (Groups{{0}, {1}}));
    EXPECT_EQ(groups(u"a b", 1), (Groups{{0}, {1}}));
    EXPECT_EQ(groups(u"a b", 2), (Groups{{0}, {1}}));
    EXPECT_EQ(groups(u"a b c", 2), (Groups{{0}, {1}, {2}}));
    EXPECT_EQ(groups(u"a b c", 9), (Groups{{0}, {1}, {2}}));
    EXPECT_EQ(groups(u"a", 1), (Groups{{0}}));
    EXPECT_EQ(groups(u"a b c d", 2), (Groups{{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}}));
}

TEST_F(SpotlightQueryRunnerTest, moreWordsInTheNameRankFirstThenTheNewer) {
    const auto ranked = SpotlightQueryRunner::rankAndTrim({named(u"autre.txt", day(9)), named(u"edf.txt"),
                                                           named(u"Facture.txt", day(2)), named(u"FACTURE-edf.txt"),
                                                           named(u"facturé.txt", day(3)), named(u"Edf2.txt")},
                                                          words(u"fàcture EDF"), 10);
    EXPECT_EQ(names(ranked), QStringLiteral("FACTURE-edf.txt facturé.txt Facture.txt edf.txt Edf2.txt autre.txt"));
}

TEST_F(SpotlightQueryRunnerTest, rankingKeepsTheFirstAndNoMore) {
    const std::vector<SearchResult> three{named(u"a"), named(u"b"), named(u"c")};
    EXPECT_EQ(names(SpotlightQueryRunner::rankAndTrim(three, words(u"x"), 2)), QStringLiteral("a b"));
    EXPECT_TRUE(SpotlightQueryRunner::rankAndTrim(three, words(u"x"), 0).empty());
    EXPECT_TRUE(SpotlightQueryRunner::rankAndTrim(three, words(u"x"), -1).empty());
    EXPECT_EQ(SpotlightQueryRunner::rankAndTrim(three, words(u"x"), std::numeric_limits<qint64>::max()).size(), 3U);
}

TEST_F(SpotlightQueryRunnerTest, whatTheIndexSaysBecomesAResult) {
    IndexItem full = item(u"/home/marie/d/a.pdf");
    full.name = QStringLiteral("A vue.pdf");
    full.contentType = QStringLiteral("com.adobe.pdf");
    full.size = 7;
    full.changedAt = day(1);
    IndexItem other = item(u"/net/b.xyz");
    other.contentType = QStringLiteral("dyn.xyz");
    start({{full, item(u"/gone/c"), other}});
    settle();
    ASSERT_EQ(completed.size(), 1U);
    ASSERT_EQ(completed[0].size(), 3U);
    EXPECT_EQ(completed[0][0],
              (SearchResult{FileURL{QStringLiteral("/home/marie/d/a.pdf")}, QStringLiteral("A vue.pdf"),
                            QStringLiteral("application/pdf"), 7, day(1), false, QStringLiteral("~/d")}));
    EXPECT_EQ(completed[0][1], (SearchResult{FileURL{QStringLiteral("/gone/c")},
                                             QStringLiteral("c"),
                                             QStringLiteral("public.data"),
                                             0,
                                             {},
                                             false,
                                             QStringLiteral("/gone")}));
    EXPECT_EQ(completed[0][2].mime, QStringLiteral("dyn.xyz"));
}

TEST_F(SpotlightQueryRunnerTest, theCutComesBeforeAnItemWithoutPathIsDropped) {
    start({{item(u"/a"), IndexItem{}, item(u"/c"), item(u"/d")}}, 3);
    settle();
    ASSERT_EQ(completed.size(), 1U);
    EXPECT_EQ(names(completed[0]), QStringLiteral("a c"));
    EXPECT_EQ(index.log, (words(u"start disableUpdates read read read enableUpdates stop")));
}

TEST_F(SpotlightQueryRunnerTest, aLimitOfZeroOrLessReadsNothing) {
    start({{item(u"/a")}}, 0);
    settle();
    start({{item(u"/a")}}, -4);
    settle();
    ASSERT_EQ(completed.size(), 2U);
    EXPECT_TRUE(completed[0].empty());
    EXPECT_TRUE(completed[1].empty());
    EXPECT_EQ(index.questions[1].limit, 0);
}

TEST_F(SpotlightQueryRunnerTest, theIndexIsNeverAskedForMoreThanItCanKeep) {
    start({}, std::numeric_limits<qint64>::max());
    settle();
    EXPECT_EQ(index.questions[0].limit, FileIndex::mostHits);
}

TEST_F(SpotlightQueryRunnerTest, timeUpDeliversWhatHasBeenGathered) {
    const auto runner = start({.items = {item(u"/a")}, .starts = true, .ends = false});
    ASSERT_TRUE(waitUntil([&] { return clock.sleeping() == 1; }));
    EXPECT_EQ(clock.asked, std::vector<std::chrono::nanoseconds>{5s});
    clock.advance(4s);
    EXPECT_FALSE(waitUntil([&] { return !completed.empty(); }, 30ms));
    EXPECT_FALSE(runner.expired()); // it keeps itself
    clock.advance(1s);
    ASSERT_TRUE(waitUntil([&] { return runner.expired(); }));
    ASSERT_EQ(completed.size(), 1U);
    EXPECT_EQ(names(completed[0]), QStringLiteral("a"));
}

TEST_F(SpotlightQueryRunnerTest, halfASecondIsNoTimeAtAll) {
    start({.items = {}, .starts = true, .ends = false}, 10, 0.5);
    ASSERT_TRUE(waitUntil([&] { return clock.sleeping() == 1; }));
    EXPECT_EQ(clock.asked, std::vector<std::chrono::nanoseconds>{0s});
    clock.advance(0s);
    EXPECT_TRUE(waitUntil([&] { return completed.size() == 1; }));
}

TEST_F(SpotlightQueryRunnerTest, timeoutsThatAreNoNumbersAreNoTimeAtAll) {
    for (const double timeout : {-3.0, std::numeric_limits<double>::quiet_NaN(), 1.999, 1e300})
        start({.items = {}, .starts = true, .ends = false}, 1, timeout);
    ASSERT_TRUE(waitUntil([&] { return clock.sleeping() == 4; }));
    EXPECT_EQ(clock.asked, (std::vector<std::chrono::nanoseconds>{0s, 0s, 1s, 24h}));
    clock.advance(24h);
    EXPECT_TRUE(waitUntil([&] { return completed.size() == 4 && index.live == 0; }));
}

TEST_F(SpotlightQueryRunnerTest, anIndexThatCannotStartEndsAtOnceWithNothing) {
    const auto runner = start({.items = {}, .starts = false});
    EXPECT_EQ(completed.size(), 1U);
    EXPECT_TRUE(waitUntil([&] { return runner.expired() && clock.sleeping() == 0; }));
    EXPECT_EQ(index.live, 0);
}

TEST_F(SpotlightQueryRunnerTest, gatheringAndTimeRaceAndOnlyTheFirstCounts) {
    const auto runner = start({{item(u"/a")}});
    const auto held = runner.lock();
    ASSERT_TRUE(waitUntil([&] { return completed.size() == 1; }));
    clock.advance(10s);
    held->finish();
    EXPECT_FALSE(waitUntil([&] { return completed.size() > 1; }, 30ms));
    EXPECT_EQ(index.log.count(QStringLiteral("stop")), 1);
}
