#include "Bridge/OpenDocumentHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct OpenDocumentHandlerTest : ::testing::Test {
    BridgeWorld world;
    QString unsent;
    TaskAnswer answer{[this](const QString& reason) { unsent = reason; }};
    BridgeIDCache cache;
    OpenDocumentHandler handler{{BookmarkPersistence(world.store), world.bookmarks, cache}, world.workspace, answer};

    /// Opens the document whose handle is its path.
    QJsonObject open(const QString& path) {
        const OpenDocumentArgs args{path};
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::openDocument, args};
        await(handler.handleOpenDocument(task, args, world.api()));
        return world.backend.updates.empty() ? QJsonObject() : world.backend.updates.back().body;
    }
    QJsonObject openShared(const QString& path) {
        cache.put(path, FileURL{path});
        return open(path);
    }
};

QJsonObject done(const QJsonObject& result) {
    return {{QStringLiteral("status"), QStringLiteral("done")}, {QStringLiteral("result"), result}};
}

QJsonObject error(const QString& message) {
    return {{QStringLiteral("status"), QStringLiteral("error")}, {QStringLiteral("error_message"), message}};
}

const QJsonObject opened = done({{QStringLiteral("ok"), true}});
const QJsonObject notShared = error(QStringLiteral("Le document n'est plus dans un dossier partagé."));

} // namespace

TEST_F(OpenDocumentHandlerTest, aDocumentOfASharedFolderIsOpened) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(openShared(QStringLiteral("/d/x/a.pdf")), opened);
    EXPECT_EQ(world.workspace->opened, QStringList{QStringLiteral("/d/x/a.pdf")});
    EXPECT_EQ(world.bookmarks->started, 0); // the file is handed to the system: no access is opened here
}

TEST_F(OpenDocumentHandlerTest, aHandleOfAFolderOpensTheFolder) {
    world.share(QStringLiteral("/d"));
    world.files->addFolder(QStringLiteral("/d/photos"));
    EXPECT_EQ(openShared(QStringLiteral("/d/photos")), opened);
    EXPECT_EQ(openShared(QStringLiteral("/d")), opened);
    EXPECT_EQ(world.workspace->opened, (QStringList{QStringLiteral("/d/photos"), QStringLiteral("/d")}));
}

TEST_F(OpenDocumentHandlerTest, anUnknownHandleTellsToSearchAgain) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(open(QStringLiteral("nobody")),
              error(QStringLiteral("Document introuvable (la session a pu être nettoyée ; relance la recherche).")));
    EXPECT_EQ(world.bookmarks->resolved, 0);
}

TEST_F(OpenDocumentHandlerTest, withdrawingTheGrantCutsOffItsHandlesAtOnce) {
    const auto grant = world.share(QStringLiteral("/d"));
    openShared(QStringLiteral("/d/a.txt"));
    world.grants.remove(grant.id);
    EXPECT_EQ(open(QStringLiteral("/d/a.txt")), notShared);
    EXPECT_EQ(world.workspace->opened.size(), 1);
}

TEST_F(OpenDocumentHandlerTest, aNeighbourWhosePathBeginsLikeAFoldersCountsAsWithinIt) {
    world.share(QStringLiteral("/a/b"));
    for (const char16_t* path : {u"/a/b", u"/a/b/x.txt", u"/a/bc/x.txt", u"/a/b.txt", u"/a/b/../c.txt"})
        EXPECT_EQ(openShared(QStringView(path).toString()), opened) << QStringView(path).toString().toStdString();
    for (const char16_t* path : {u"/a/x.txt", u"/a/", u"/", u"", u"a/b/x.txt", u"/A/B/x.txt", u"//a/b/x.txt",
                                 u"/a//b/x.txt", u"/a/./b/x.txt", u"/x/../a/b/x.txt"})
        EXPECT_EQ(openShared(QStringView(path).toString()), notShared) << QStringView(path).toString().toStdString();
}

TEST_F(OpenDocumentHandlerTest, aGrantThatCannotBeResolvedIsSkipped) {
    world.share(QStringLiteral("/lost"));
    world.share(QStringLiteral("/d"));
    world.bookmarks->lost.insert(QStringLiteral("/lost"));
    EXPECT_EQ(openShared(QStringLiteral("/lost/a.txt")), notShared);
    EXPECT_EQ(openShared(QStringLiteral("/d/a.txt")), opened);
}

TEST_F(OpenDocumentHandlerTest, whatTheDesktopCannotOpenIsDoneWithoutBeingOk) {
    world.share(QStringLiteral("/d"));
    world.workspace->failures[QStringLiteral("/d/a.xyz")] = QStringLiteral("No application is registered");
    EXPECT_EQ(openShared(QStringLiteral("/d/a.xyz")),
              done({{QStringLiteral("ok"), false}, {QStringLiteral("error"), QStringLiteral("open_failed")}}));
}

TEST_F(OpenDocumentHandlerTest, aCancelledTaskGivesTheOpeningUpAndSendsNothing) {
    world.share(QStringLiteral("/d"));
    const OpenDocumentArgs args{QStringLiteral("/d/a.txt")};
    cache.put(args.documentId, FileURL{args.documentId});
    world.workspace->endless = args.documentId;
    const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::openDocument, args};
    Scope scope;
    Job job = scope.start(handler.handleOpenDocument(task, args, world.api()));
    ASSERT_TRUE(waitUntil([&] { return world.workspace->asked == 1; }));
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return world.workspace->givenUp == 1; }));
    EXPECT_TRUE(world.backend.updates.empty());
    EXPECT_EQ(unsent, QString());
}

TEST_F(OpenDocumentHandlerTest, aSuccessThatCannotBeSentIsToldAndNotSentAgain) {
    world.share(QStringLiteral("/d"));
    world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    openShared(QStringLiteral("/d/a.txt"));
    EXPECT_EQ(unsent, QStringLiteral("Le serveur n'a pas répondu à temps."));
    EXPECT_EQ(world.backend.updates.size(), 1U);
}

TEST_F(OpenDocumentHandlerTest, aRefusalThatCannotBeSentIsDropped) {
    world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    openShared(QStringLiteral("/d/a.txt"));
    EXPECT_EQ(unsent, QString());
    EXPECT_EQ(world.backend.updates.size(), 1U);
}
