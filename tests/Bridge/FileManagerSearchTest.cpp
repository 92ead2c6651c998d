#include "Bridge/FileManagerSearch.h"

#include "fakes/FileSystemFake.h"
#include "fakes/FileTypesFake.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

QDateTime day(int number) { return {QDate(2025, 1, number), QTime(0, 0), Qt::UTC}; }

struct FileManagerSearchTest : ::testing::Test {
    std::shared_ptr<FileSystemFake> files = std::make_shared<FileSystemFake>();
    FileManagerSearch search{files, std::make_shared<FileTypesFake>()};

    std::vector<SearchResult> run(const QStringList& tokens, QStringList roots = {QStringLiteral("/d")},
                                  qint64 limit = 10, qint64 maxEntries = 50'000) {
        std::vector<FileURL> folders;
        for (const QString& root : roots)
            folders.push_back({root});
        return await(search.search(tokens, folders, limit, maxEntries));
    }
    static QString names(const std::vector<SearchResult>& results) {
        QStringList all;
        for (const SearchResult& result : results)
            all.append(result.name);
        return all.join(u' ');
    }
};

} // namespace

TEST_F(FileManagerSearchTest, everyWordHasToBeInTheNameInAnyOrderWithoutCaseAndAccents) {
    for (const char16_t* name : {u"/d/Élève 2024.txt", u"/d/eleve.txt", u"/d/2024.txt", u"/d/x/2024-ELEVES.md"})
        files->addFile(QStringView(name).toString());
    const auto hits = run({QStringLiteral("2024"), QStringLiteral("élEve")});
    EXPECT_EQ(names(hits), QStringLiteral("2024-ELEVES.md Élève 2024.txt"));
}

TEST_F(FileManagerSearchTest, noWordMatchesEveryEntry) {
    files->addFile(QStringLiteral("/d/a"));
    files->addFolder(QStringLiteral("/d/b"));
    EXPECT_EQ(run({}).size(), 2U);
}

TEST_F(FileManagerSearchTest, theWalkStopsAtThreeTimesTheLimitAndGivesTheNewestOfThose) {
    for (int number = 0; number < 50; ++number)
        files->addFile(QStringLiteral("/d/a%1").arg(number, 2, 10, QChar(u'0')), 0, day(1).addDays(number));
    const auto hits = run({QStringLiteral("a")}, {QStringLiteral("/d"), QStringLiteral("/d")}, 10);
    ASSERT_EQ(hits.size(), 10U);
    EXPECT_EQ(hits[0].name, QStringLiteral("a29"));
    EXPECT_EQ(hits[9].name, QStringLiteral("a20"));
    EXPECT_EQ(files->walked, 31); // the thirty-first is met and not looked at
}

TEST_F(FileManagerSearchTest, theBudgetOfEntriesIsForEachFolder) {
    for (int number = 0; number < 60; ++number) {
        files->addFile(QStringLiteral("/d/x%1").arg(number, 2, 10, QChar(u'0')));
        files->addFile(QStringLiteral("/e/x%1").arg(number, 2, 10, QChar(u'0')));
    }
    files->addFile(QStringLiteral("/d/x49hit"));
    files->addFile(QStringLiteral("/e/x50hit"));
    const auto hits = run({QStringLiteral("hit")}, {QStringLiteral("/d"), QStringLiteral("/e")}, 10, 51);
    EXPECT_EQ(names(hits), QStringLiteral("x49hit"));
    EXPECT_EQ(files->walked, 104); // 52 of each, the last one met only
}

TEST_F(FileManagerSearchTest, fiftyThousandEntriesOfEachOfTwoFoldersAreLookedAt) {
    for (int number = 0; number < 60'000; ++number) {
        const QString name = QStringLiteral("%1").arg(number, 5, 10, QChar(u'0'));
        files->addFile(QStringLiteral("/d/") + name);
        files->addFile(QStringLiteral("/e/") + name);
    }
    files->addFile(QStringLiteral("/e/49998 wanted"));
    files->addFile(QStringLiteral("/e/50000 wanted"));
    EXPECT_EQ(names(run({QStringLiteral("wanted")}, {QStringLiteral("/d"), QStringLiteral("/e")})),
              QStringLiteral("49998 wanted"));
}

TEST_F(FileManagerSearchTest, hiddenNamesAreNeverFoundWhateverTheWalkGives) {
    files->addFile(QStringLiteral("/d/.hit"));
    files->addFile(QStringLiteral("/d/.x/hit"));
    files->addFile(QStringLiteral("/d/hit"));
    EXPECT_EQ(names(run({QStringLiteral("hit")})), QStringLiteral("hit"));
    files->entries.erase(QStringLiteral("/d/.x/hit"));
    files->walksGiveHidden = true;
    EXPECT_EQ(names(run({QStringLiteral("hit")})), QStringLiteral("hit"));
}

TEST_F(FileManagerSearchTest, equalDatesSortByNameWithCapitalsFirstAndNoDateComesLast) {
    files->addFile(QStringLiteral("/d/b"), 0, day(2));
    files->addFile(QStringLiteral("/d/a"), 0, day(2));
    files->addFile(QStringLiteral("/d/Z"), 0, day(2));
    files->addFile(QStringLiteral("/d/é"), 0, day(2));
    files->addFile(QStringLiteral("/d/new"), 0, day(3));
    files->addFile(QStringLiteral("/d/0"));
    EXPECT_EQ(names(run({})), QStringLiteral("new Z a b é 0"));
}

TEST_F(FileManagerSearchTest, namesSortByCodePointAlsoBeyondTheBasicPlane) {
    files->addFile(QStringLiteral("/d/\uFF5E"), 0, day(1));
    files->addFile(QStringLiteral("/d/😀"), 0, day(1));
    EXPECT_EQ(names(run({})), QStringLiteral("\uFF5E 😀"));
}

TEST_F(FileManagerSearchTest, equalDatesAndNamesKeepTheOrderOfTheWalk) {
    files->addFile(QStringLiteral("/e/x"), 0, day(1));
    files->addFile(QStringLiteral("/d/x"), 0, day(1));
    const auto hits = run({}, {QStringLiteral("/e"), QStringLiteral("/d")});
    ASSERT_EQ(hits.size(), 2U);
    EXPECT_EQ(hits[0].url.path, QStringLiteral("/e/x"));
}

TEST_F(FileManagerSearchTest, foldersAreHitsWithTheTypeOfAFolder) {
    files->addFolder(QStringLiteral("/d/Factures"));
    const auto hits = run({QStringLiteral("facture")});
    ASSERT_EQ(hits.size(), 1U);
    EXPECT_EQ(hits[0].mime, QStringLiteral("public.folder"));
    EXPECT_EQ(hits[0].size, 0);
}

TEST_F(FileManagerSearchTest, valuesFillTheResult) {
    files->addFile(QStringLiteral("/home/marie/d/a.pdf"), 12, day(4));
    files->entries[QStringLiteral("/home/marie/d/a.pdf")].volumeIsLocal = false;
    const auto hits = run({}, {QStringLiteral("/home/marie/d")});
    ASSERT_EQ(hits.size(), 1U);
    EXPECT_EQ(hits[0], (SearchResult{FileURL{QStringLiteral("/home/marie/d/a.pdf")}, QStringLiteral("a.pdf"),
                                     QStringLiteral("application/pdf"), 12, day(4), true, QStringLiteral("~/d")}));
}

TEST_F(FileManagerSearchTest, valuesThatCannotBeReadAreAbsent) {
    files->addFile(QStringLiteral("/d/a.pdf"), 12, day(4));
    files->unreadable.insert(QStringLiteral("/d/a.pdf"));
    const auto hits = run({});
    ASSERT_EQ(hits.size(), 1U);
    EXPECT_EQ(hits[0], (SearchResult{FileURL{QStringLiteral("/d/a.pdf")},
                                     QStringLiteral("a.pdf"),
                                     QStringLiteral("public.data"),
                                     0,
                                     {},
                                     false,
                                     QStringLiteral("/d")}));
}

TEST_F(FileManagerSearchTest, aFolderThatCannotBeWalkedIsPassedOver) {
    files->unreadable.insert(QStringLiteral("/d"));
    files->addFile(QStringLiteral("/e/a"));
    EXPECT_EQ(names(run({}, {QStringLiteral("/d"), QStringLiteral("/e")})), QStringLiteral("a"));
}

TEST_F(FileManagerSearchTest, aLimitOfZeroOrLessFindsNothing) {
    files->addFile(QStringLiteral("/d/a"));
    EXPECT_TRUE(run({}, {QStringLiteral("/d")}, 0).empty());
    EXPECT_TRUE(run({}, {QStringLiteral("/d")}, -1).empty());
}

TEST_F(FileManagerSearchTest, aWalkEndsSoonAfterItsWaiterWent) {
    for (int number = 0; number < 40'000; ++number)
        files->addFile(QStringLiteral("/d/%1").arg(number));
    std::vector<FileURL> folders(500, FileURL{QStringLiteral("/d")});
    {
        Scope scope;
        const auto run = [](FileManagerSearch* search, std::vector<FileURL> folders) -> Task<> {
            co_await search->search({QStringLiteral("no such name")}, folders, 10, 50'000);
        };
        scope.start(run(&search, folders));
        ASSERT_TRUE(waitUntil([&] { return files->walked > 0; }));
    }
    const std::weak_ptr<FileSystemFake> alive = files;
    search = FileManagerSearch(nullptr, nullptr);
    FileSystemFake* raw = files.get();
    ASSERT_TRUE(waitUntil([&] { return alive.use_count() == 1; }));
    EXPECT_LT(raw->walked, 500 * 40'000);
}

TEST_F(FileManagerSearchTest, typesHaveTheirMimeOrStandForThemselves) {
    const std::vector<std::pair<const char*, const char*>> rows{
        {"com.adobe.pdf", "application/pdf"},
        {"public.plain-text", "text/plain"},
        {"public.text", "text/plain"},
        {"public.utf8-plain-text", "text/plain"},
        {"public.rtf", "text/rtf"},
        {"net.daringfireball.markdown", "text/markdown"},
        {"public.markdown", "text/markdown"},
        {"public.html", "text/html"},
        {"public.json", "application/json"},
        {"public.xml", "application/xml"},
        {"public.csv", "text/csv"},
        {"public.image", "image/*"},
        {"public.jpeg", "image/*"},
        {"public.png", "image/*"},
        {"com.microsoft.word.doc", "application/msword"},
        {"org.openxmlformats.wordprocessingml.document",
         "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
        {"com.microsoft.excel.xls", "application/vnd.ms-excel"},
        {"org.openxmlformats.spreadsheetml.sheet", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
        {"public.zip-archive", "public.zip-archive"},
        {"COM.ADOBE.PDF", "COM.ADOBE.PDF"},
        {"", ""},
    };
    for (const auto& [type, mime] : rows)
        EXPECT_EQ(FileManagerSearch::mimeFromUTI(QString::fromLatin1(type)), QString::fromLatin1(mime));
}
