#include "Bridge/SpotlightSearch.h"

#include "Bridge/FileIndexScript.h"
#include "fakes/FileSystemFake.h"
#include "fakes/FileTypesFake.h"
#include "support/Await.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>
#include <limits>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

struct SpotlightSearchTest : ::testing::Test {
    FileIndexScript index;
    std::shared_ptr<FileSystemFake> files = std::make_shared<FileSystemFake>();
    TestClock clock;
    SpotlightSearch search{index, files, std::make_shared<FileTypesFake>(), clock};
    std::vector<FileURL> folders{FileURL{QStringLiteral("/d")}, FileURL{QStringLiteral("/e")}};

    void answer(std::initializer_list<const char16_t*> paths) {
        FileIndexScript::Answer given;
        for (const char16_t* path : paths) {
            IndexItem item;
            item.path = QStringView(path).toString();
            given.items.push_back(item);
        }
        index.answers.push_back(std::move(given));
    }
    QString found(const char16_t* query, qint64 limit = 10) {
        QStringList all;
        for (const SearchResult& result : await(search.search(QStringView(query).toString(), folders, limit, 5.0)))
            all.append(result.url.path);
        return all.join(u' ');
    }
};

} // namespace

TEST_F(SpotlightSearchTest, aQueryOfSpacesAsksNothing) {
    for (const char16_t* query : {u"", u"   ", u"\t", u"\u3000", u"\n", u" \r\n "})
        EXPECT_EQ(found(query), QString());
    EXPECT_TRUE(index.questions.empty());
}

TEST_F(SpotlightSearchTest, noFolderAsksNothing) {
    folders.clear();
    EXPECT_EQ(found(u"edf"), QString());
    EXPECT_TRUE(index.questions.empty());
}

TEST_F(SpotlightSearchTest, everyWordIsAskedForFirstAndTheIndexsOrderStays) {
    answer({u"/d/b", u"/d/a"});
    EXPECT_EQ(found(u" facture  edf ", 4), QStringLiteral("/d/b /d/a"));
    ASSERT_EQ(index.questions.size(), 1U);
    EXPECT_EQ(index.questions[0],
              (FileIndexScript::Question{{{QStringLiteral("*facture*"), QStringLiteral("*edf*")}, {{0, 1}}},
                                         {QStringLiteral("/d"), QStringLiteral("/e")},
                                         4}));
}

TEST_F(SpotlightSearchTest, aHitOnAVolumeThatIsNotLocalIsRemote) {
    for (const char16_t* path : {u"/d/ici.txt", u"/d/ailleurs.txt", u"/d/muet.txt"})
        files->addFile(QStringView(path).toString());
    files->entries[QStringLiteral("/d/ailleurs.txt")].volumeIsLocal = false;
    files->entries[QStringLiteral("/d/muet.txt")].volumeIsLocal = std::nullopt;
    answer({u"/d/ici.txt", u"/d/ailleurs.txt", u"/d/muet.txt", u"/d/parti.txt"});
    const auto results = await(search.search(QStringLiteral("x"), folders, 10, 5.0));
    ASSERT_EQ(results.size(), 4U);
    for (std::size_t at = 0; at < results.size(); ++at)
        EXPECT_EQ(results[at].isRemote, at == 1) << at;
}

TEST_F(SpotlightSearchTest, aSingleWordWithoutHitEndsThere) {
    files->addFile(QStringLiteral("/d/edf.pdf"));
    EXPECT_EQ(found(u"edf"), QString());
    EXPECT_EQ(index.questions.size(), 1U);
    EXPECT_EQ(files->walked, 0);
}

TEST_F(SpotlightSearchTest, theRelaxedPassForgivesAWordAndRanksByTheName) {
    answer({});
    answer({u"/d/autre", u"/d/facture.txt"});
    EXPECT_EQ(found(u"facture edf", 1), QStringLiteral("/d/facture.txt"));
    ASSERT_EQ(index.questions.size(), 2U);
    EXPECT_EQ(index.questions[1].predicate.anyOf, (std::vector<std::vector<int>>{{0}, {1}}));
    EXPECT_EQ(index.questions[1].limit, 3);
}

TEST_F(SpotlightSearchTest, theWalkComesWhenTheIndexHasNothing) {
    files->addFile(QStringLiteral("/d/Facture Édf.pdf"));
    files->addFile(QStringLiteral("/d/facture.pdf"));
    EXPECT_EQ(found(u"edf facture"), QStringLiteral("/d/Facture Édf.pdf"));
    EXPECT_EQ(index.questions.size(), 2U);
    EXPECT_EQ(index.live, 0);
}

TEST_F(SpotlightSearchTest, aLimitOfZeroFindsNothingAtAll) {
    files->addFile(QStringLiteral("/d/facture edf"));
    answer({u"/d/a"});
    answer({u"/d/a"});
    EXPECT_EQ(found(u"facture edf", 0), QString());
    EXPECT_EQ(found(u"facture edf", -7), QString());
}

TEST_F(SpotlightSearchTest, theLargestLimitDoesNotOverflow) {
    files->addFile(QStringLiteral("/d/facture edf"));
    EXPECT_EQ(found(u"facture edf", std::numeric_limits<qint64>::max()), QStringLiteral("/d/facture edf"));
}

TEST_F(SpotlightSearchTest, eachPassHasTheWholeTimeout) {
    index.answers.push_back({.items = {}, .starts = true, .ends = false});
    index.answers.push_back({.items = {}, .starts = true, .ends = false});
    Scope scope;
    bool ended = false;
    const auto run = [](SpotlightSearch* search, std::vector<FileURL> folders, bool* ended) -> Task<> {
        co_await search->search(QStringLiteral("a b"), folders, 10, 5.0);
        *ended = true;
    };
    scope.start(run(&search, folders, &ended));
    ASSERT_TRUE(waitUntil([&] { return clock.sleeping() == 1; }));
    clock.advance(5s);
    ASSERT_TRUE(waitUntil([&] { return index.questions.size() == 2 && clock.sleeping() == 1; }));
    EXPECT_FALSE(ended);
    clock.advance(5s);
    ASSERT_TRUE(waitUntil([&] { return ended; }));
    EXPECT_EQ(clock.asked, (std::vector<std::chrono::nanoseconds>{5s, 5s}));
}

TEST_F(SpotlightSearchTest, absurdlyManyWordsSkipTheRelaxedPass) {
    QString query;
    for (int word = 0; word < 257; ++word)
        query += QStringLiteral("w%1 ").arg(word);
    EXPECT_TRUE(await(search.search(query, folders, 10, 5.0)).empty());
    ASSERT_EQ(index.questions.size(), 1U);
    EXPECT_EQ(index.questions[0].predicate.patterns.size(), 257);
    index.questions.clear();
    EXPECT_TRUE(await(search.search(query.left(query.lastIndexOf(u"w256")), folders, 10, 5.0)).empty());
    ASSERT_EQ(index.questions.size(), 2U);
    EXPECT_EQ(index.questions[1].predicate.anyOf.size(), 256U);
    EXPECT_EQ(index.questions[1].predicate.anyOf[0].size(), 255U);
}

TEST_F(SpotlightSearchTest, aSearchWhoseWaiterGoesLeavesNoQueryBehind) {
    index.answers.push_back({.items = {}, .starts = true, .ends = false});
    {
        Scope scope;
        const auto run = [](SpotlightSearch* search, std::vector<FileURL> folders) -> Task<> {
            co_await search->search(QStringLiteral("a b"), folders, 10, 5.0);
        };
        scope.start(run(&search, folders));
        ASSERT_TRUE(waitUntil([&] { return index.live == 1 && clock.sleeping() == 1; }));
    }
    EXPECT_EQ(index.live, 0);
    EXPECT_EQ(clock.sleeping(), 0U);
}
