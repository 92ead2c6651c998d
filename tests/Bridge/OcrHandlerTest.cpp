#include "Bridge/OcrHandler.h"

#include "Bridge/BookmarkError.h"
#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <QJsonArray>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct OcrHandlerTest : ::testing::Test {
    BridgeWorld world;
    BridgeIDCache cache;
    OcrHandler handler{BookmarkPersistence(world.store), world.bookmarks, OcrEngine(world.recognizer, world.files),
                       cache};

    void image(const QString& path, const QString& text) {
        world.files->addFile(path, 77);
        world.recognizer->addImage(path, text);
        cache.put(path, FileURL{path});
    }
    /// Asks for the file whose handle is its path.
    QJsonObject ask(const QString& path) {
        const OcrImageArgs args{path};
        await(handler.handleOcrImage({QStringLiteral("t1"), BridgeTaskKind::ocrImage, args}, args, world.api()));
        return world.backend.updates.empty() ? QJsonObject() : world.backend.updates.back().body;
    }
    QString failure(const QString& path) {
        const QJsonObject body = ask(path);
        EXPECT_EQ(body.value(QLatin1String("status")).toString(), QStringLiteral("error"));
        return body.value(QLatin1String("error_message")).toString();
    }
    QJsonObject result(const QString& path) {
        const QJsonObject body = ask(path);
        EXPECT_EQ(body.value(QLatin1String("status")).toString(), QStringLiteral("done"));
        return body.value(QLatin1String("result")).toObject();
    }
};

const QString outside = QStringLiteral("Document hors des dossiers partagés.");

} // namespace

TEST_F(OcrHandlerTest, anUnknownHandleTellsToSearchAgainWithoutASpaceBeforeTheSemicolon) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(failure(QStringLiteral("nobody")),
              QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche)."));
}

TEST_F(OcrHandlerTest, anImageOfASharedFolderIsRecognised) {
    world.share(QStringLiteral("/d"));
    image(QStringLiteral("/d/x/a.png"), QStringLiteral("un\ndeux"));
    const QJsonObject expected{
        {QStringLiteral("text"), QStringLiteral("un\ndeux")},
        {QStringLiteral("languages"), QJsonArray{QStringLiteral("fr-FR"), QStringLiteral("en-US")}},
        {QStringLiteral("bytes_processed"), 77}};
    EXPECT_EQ(result(QStringLiteral("/d/x/a.png")), expected);
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->started, 1);
}

TEST_F(OcrHandlerTest, withdrawingTheGrantCutsOffItsHandlesAtOnce) {
    const auto grant = world.share(QStringLiteral("/d"));
    image(QStringLiteral("/d/a.png"), QStringLiteral("x"));
    result(QStringLiteral("/d/a.png"));
    world.grants.remove(grant.id);
    EXPECT_EQ(failure(QStringLiteral("/d/a.png")), outside);
    EXPECT_EQ(world.recognizer->asked().size(), 1);
}

TEST_F(OcrHandlerTest, theFileHasToLieUnderTheFolderAndNotBesideIt) {
    world.share(QStringLiteral("/a/b"));
    for (const char16_t* path : {u"/a/bc/x.png", u"/a/b.png", u"/a/x.png", u"//a/b/x.png", u"/a/./b/x.png", u"/"}) {
        image(QStringView(path).toString(), QStringLiteral("secret"));
        EXPECT_EQ(failure(QStringView(path).toString()), outside) << QStringView(path).toString().toStdString();
    }
    EXPECT_TRUE(world.recognizer->asked().isEmpty());
}

TEST_F(OcrHandlerTest, whatTheEngineRefusesIsToldInItsWords) {
    world.share(QStringLiteral("/d"));
    image(QStringLiteral("/d/a.webp"), QStringLiteral("x"));
    cache.put(QStringLiteral("gone"), FileURL{QStringLiteral("/d/gone.png")});
    cache.put(QStringLiteral("pdf"), FileURL{QStringLiteral("/d/gone.pdf")});
    EXPECT_EQ(failure(QStringLiteral("/d/a.webp")), QStringLiteral("Format non supporté: webp"));
    EXPECT_EQ(failure(QStringLiteral("gone")), QStringLiteral("VisionKit a échoué: impossible de charger l'image"));
    EXPECT_EQ(failure(QStringLiteral("pdf")), QStringLiteral("Le PDF est vide."));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->stopped, 3);
}

TEST_F(OcrHandlerTest, aGrantThatCannotBeResolvedIsPassedOver) {
    world.share(QStringLiteral("/d"));
    world.bookmarks->lost.insert(QStringLiteral("/d"));
    image(QStringLiteral("/d/a.png"), QStringLiteral("x"));
    EXPECT_EQ(failure(QStringLiteral("/d/a.png")), outside);
}

TEST_F(OcrHandlerTest, aGrantThatCannotBeResolvedTheSecondTimeIsToldInItsWords) {
    world.share(QStringLiteral("/d"));
    image(QStringLiteral("/d/a.png"), QStringLiteral("x"));
    world.bookmarks->resolvable = 1;
    EXPECT_EQ(failure(QStringLiteral("/d/a.png")),
              BookmarkError::resolutionFailed(QStringLiteral("Le dossier est introuvable.")).errorDescription());
    EXPECT_EQ(world.bookmarks->resolved, 2);
    EXPECT_EQ(world.bookmarks->started, 0);
    EXPECT_TRUE(world.recognizer->asked().isEmpty());
}

TEST_F(OcrHandlerTest, aCancelledTaskEndsTheRecognitionAndClosesTheFolder) {
    world.share(QStringLiteral("/d"));
    image(QStringLiteral("/d/a.png"), QStringLiteral("x"));
    world.recognizer->addPdf(QStringLiteral("/d/a.pdf"),
                             {{QString(), QStringLiteral("un")}, {QString(), QStringLiteral("deux")}});
    cache.put(QStringLiteral("/d/a.pdf"), FileURL{QStringLiteral("/d/a.pdf")});
    int cancelled = 0;
    for (const char16_t* asked : {u"image /d/a.png", u"open /d/a.pdf", u"recognize /d/a.pdf 0", u"text /d/a.pdf 1"}) {
        const QString endless = QStringView(asked).toString();
        world.recognizer->endless = endless;
        const OcrImageArgs args{endless.section(u' ', 1, 1)};
        Scope scope;
        Job job = scope.start(
            handler.handleOcrImage({QStringLiteral("t1"), BridgeTaskKind::ocrImage, args}, args, world.api()));
        ASSERT_TRUE(waitUntil([&] { return world.recognizer->asked().contains(endless); }));
        job.cancel();
        ++cancelled;
        EXPECT_TRUE(waitUntil([&] {
            return world.recognizer->givenUp == cancelled && world.bookmarks->openNow() == 0;
        })) << cancelled;
        EXPECT_EQ(world.recognizer->asked().last(), endless); // no further page is read
    }
    EXPECT_TRUE(world.backend.updates.empty());
}

TEST_F(OcrHandlerTest, aSuccessThatCannotBeSentIsDropped) {
    world.share(QStringLiteral("/d"));
    image(QStringLiteral("/d/a.png"), QStringLiteral("x"));
    world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    ask(QStringLiteral("/d/a.png"));
    EXPECT_EQ(world.backend.updates.size(), 1U);
    EXPECT_EQ(world.service->lastErrorMessage(), std::nullopt);
}
