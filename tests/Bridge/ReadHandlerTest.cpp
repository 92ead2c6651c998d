#include "Bridge/ReadHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct ReadHandlerTest : ::testing::Test {
    BridgeWorld world;
    QString unsent;
    TaskAnswer answer{[this](const QString& reason) { unsent = reason; }};
    BridgeIDCache cache;
    ReadHandler handler{BookmarkPersistence(world.store), world.bookmarks,
                        DocumentExtractor(world.reader, world.types, world.files), cache, answer};

    void document(const QString& path, const DocumentReaderScript::Document& content) {
        world.files->addFile(path, 1);
        world.reader->documents[path] = content;
        cache.put(path, FileURL{path});
    }
    /// Reads the document whose handle is its path.
    QJsonObject read(const QString& path, std::optional<qint64> maxChars = {}) {
        const ReadArgs args{path, maxChars};
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::read, args};
        await(handler.handleRead(task, args, world.api()));
        return world.backend.updates.empty() ? QJsonObject() : world.backend.updates.back().body;
    }
    QString failure(const QString& path) {
        const QJsonObject body = read(path);
        EXPECT_EQ(body.value(QLatin1String("status")).toString(), QStringLiteral("error"));
        return body.value(QLatin1String("error_message")).toString();
    }
    QJsonObject result(const QString& path, std::optional<qint64> maxChars = {}) {
        const QJsonObject body = read(path, maxChars);
        EXPECT_EQ(body.value(QLatin1String("status")).toString(), QStringLiteral("done"));
        return body.value(QLatin1String("result")).toObject();
    }
    static QJsonObject expected(const char16_t* content, bool truncated, qint64 bytes) {
        return {{QStringLiteral("content"), QStringView(content).toString()},
                {QStringLiteral("truncated"), truncated},
                {QStringLiteral("bytes_read"), bytes}};
    }
};

const QString outside = QStringLiteral("Document hors des dossiers partagés.");

} // namespace

TEST_F(ReadHandlerTest, anUnknownHandleTellsToSearchAgain) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(failure(QStringLiteral("nobody")),
              QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche)."));
    EXPECT_EQ(world.bookmarks->resolved, 0);
}

TEST_F(ReadHandlerTest, aDocumentOfASharedFolderIsRead) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/x/a.txt"), QStringLiteral("Bonjour"));
    EXPECT_EQ(result(QStringLiteral("/d/x/a.txt")), expected(u"Bonjour", false, 4096));
    EXPECT_EQ(result(QStringLiteral("/d/x/a.txt"), 3), expected(u"Bon", true, 4096));
    EXPECT_EQ(world.reader->calls(),
              (QStringList{QStringLiteral("text /d/x/a.txt 8000"), QStringLiteral("text /d/x/a.txt 3")}));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(ReadHandlerTest, anyNumberOfCharactersIsTakenAsItStands) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("x"));
    EXPECT_EQ(result(QStringLiteral("/d/a.txt"), 0), expected(u"", true, 4096));
    EXPECT_EQ(result(QStringLiteral("/d/a.txt"), -1), expected(u"", true, 4096));
    EXPECT_EQ(result(QStringLiteral("/d/a.txt"), std::numeric_limits<qint64>::max()), expected(u"x", false, 4096));
}

TEST_F(ReadHandlerTest, withdrawingTheGrantCutsOffItsHandlesAtOnce) {
    const auto grant = world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("x"));
    result(QStringLiteral("/d/a.txt"));
    world.grants.remove(grant.id);
    EXPECT_EQ(failure(QStringLiteral("/d/a.txt")), outside);
    EXPECT_EQ(world.reader->calls().size(), 1);
}

TEST_F(ReadHandlerTest, theDocumentHasToLieUnderTheFolderAndNotBesideIt) {
    world.share(QStringLiteral("/a/b"));
    for (const char16_t* path : {u"/a/bc/x.txt", u"/a/b.txt", u"/a/x.txt", u"/b/x.txt", u"/", u"", u"a/b/x.txt",
                                 u"/A/B/x.txt", u"//a/b/x.txt", u"/a//b/x.txt", u"/a/./b/x.txt", u"/x/../a/b/x.txt"}) {
        document(QStringView(path).toString(), QStringLiteral("secret"));
        EXPECT_EQ(failure(QStringView(path).toString()), outside) << QStringView(path).toString().toStdString();
    }
    EXPECT_TRUE(world.reader->calls().isEmpty());
    document(QStringLiteral("/a/b/x.txt"), QStringLiteral("ok"));
    result(QStringLiteral("/a/b/x.txt"));
}

TEST_F(ReadHandlerTest, pathsAreComparedAsTheyStand) {
    world.share(QStringLiteral("/a/b"));
    document(QStringLiteral("/a/b/../c.txt"), QStringLiteral("x"));
    EXPECT_EQ(result(QStringLiteral("/a/b/../c.txt")), expected(u"x", false, 4096));
}

TEST_F(ReadHandlerTest, theSharedFolderItselfBelongsToItsGrant) {
    world.share(QStringLiteral("/a/b.txt"));
    world.reader->documents[QStringLiteral("/a/b.txt")] =
        DocumentReaderScript::Failure{DocumentFault::unreadable, QStringLiteral("C'est un dossier.")};
    cache.put(QStringLiteral("D"), FileURL{QStringLiteral("/a/b.txt")});
    EXPECT_EQ(failure(QStringLiteral("D")), QStringLiteral("Lecture: C'est un dossier."));
}

TEST_F(ReadHandlerTest, aFolderThatWasRenamedCountsUnderItsNewPathOnly) {
    world.share(QStringLiteral("/a"));
    world.bookmarks->moved[QStringLiteral("/a")] = QStringLiteral("/b");
    document(QStringLiteral("/a/x.txt"), QStringLiteral("old"));
    document(QStringLiteral("/b/x.txt"), QStringLiteral("new"));
    EXPECT_EQ(failure(QStringLiteral("/a/x.txt")), outside);
    EXPECT_EQ(result(QStringLiteral("/b/x.txt")), expected(u"new", false, 4096));
}

TEST_F(ReadHandlerTest, theFirstGrantThatHoldsIsTheOneWhoseAccessIsOpened) {
    world.share(QStringLiteral("/lost"));
    world.share(QStringLiteral("/a"));
    world.share(QStringLiteral("/a/b"));
    world.bookmarks->lost.insert(QStringLiteral("/lost"));
    document(QStringLiteral("/a/b/x.txt"), QStringLiteral("x"));
    result(QStringLiteral("/a/b/x.txt"));
    EXPECT_EQ(world.bookmarks->started, 1);
    EXPECT_EQ(world.bookmarks->open, (std::map<QString, int>{{QStringLiteral("/a"), 0}}));
    EXPECT_EQ(world.bookmarks->resolved, 3); // the lost one, the right one, and that one again before it is used
}

TEST_F(ReadHandlerTest, whatTheExtractorRefusesIsToldInItsWords) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.zip"), QStringLiteral("x"));
    document(QStringLiteral("/d/b.txt"), QStringLiteral("x"));
    world.files->addFile(QStringLiteral("/d/b.txt"), 10'485'761);
    document(QStringLiteral("/d/c.pdf"), DocumentReaderScript::Failure{DocumentFault::unparsable, {}});
    cache.put(QStringLiteral("gone"), FileURL{QStringLiteral("/d/gone.txt")});
    EXPECT_EQ(failure(QStringLiteral("/d/a.zip")), QStringLiteral("Format non supporté (public.zip-archive)"));
    EXPECT_EQ(failure(QStringLiteral("/d/b.txt")), QStringLiteral("Fichier trop gros (10240 Ko)"));
    EXPECT_EQ(failure(QStringLiteral("/d/c.pdf")), QStringLiteral("Lecture: PDFDocument init failed"));
    EXPECT_EQ(failure(QStringLiteral("gone")), QStringLiteral("Lecture: Le fichier n'existe pas."));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->stopped, 4);
}

TEST_F(ReadHandlerTest, aHandleIsNotUsedUp) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("x"));
    result(QStringLiteral("/d/a.txt"));
    result(QStringLiteral("/d/a.txt"));
    EXPECT_EQ(cache.size(), 1);
}

TEST_F(ReadHandlerTest, anAccessThatDidNotOpenIsNoFailureAndIsNotClosed) {
    world.share(QStringLiteral("/d"));
    world.bookmarks->refused.insert(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("x"));
    result(QStringLiteral("/d/a.txt"));
    EXPECT_EQ(world.bookmarks->started, 1);
    EXPECT_EQ(world.bookmarks->stopped, 0);
}

TEST_F(ReadHandlerTest, aSuccessThatCannotBeSentIsTold) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("x"));
    world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    read(QStringLiteral("/d/a.txt"));
    EXPECT_EQ(unsent, QStringLiteral("Le serveur n'a pas répondu à temps."));
    EXPECT_EQ(world.backend.updates.size(), 1U);
}
