#include "Bridge/ThumbnailHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct ThumbnailHandlerTest : ::testing::Test {
    BridgeWorld world;
    BridgeIDCache cache;
    ThumbnailHandler handler{
        {BookmarkPersistence(world.store), world.bookmarks, cache}, world.thumbnailer, world.context};

    /// A thumbnail of the document whose handle is its path.
    QJsonObject ask(const QString& path, std::optional<qint64> maxEdge = {}) {
        const ThumbnailArgs args{path, maxEdge};
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::thumbnail, args};
        await(handler.handleThumbnail(task, args, world.api()));
        return world.backend.updates.empty() ? QJsonObject() : world.backend.updates.back().body;
    }
    QJsonObject askShared(const QString& path, std::optional<qint64> maxEdge = {}) {
        cache.put(path, FileURL{path});
        return ask(path, maxEdge);
    }
    /// The edge that is asked of the thumbnailer, in points.
    int edgeFor(std::optional<qint64> maxEdge) {
        askShared(QStringLiteral("/d/a.png"), maxEdge);
        return world.thumbnailer->asked().last().edge;
    }
};

QJsonObject form(const QByteArray& png, int width, int height) {
    return {{QStringLiteral("status"), QStringLiteral("done")},
            {QStringLiteral("result"), QJsonObject{{QStringLiteral("data_base64"), QString::fromLatin1(png.toBase64())},
                                                   {QStringLiteral("mime"), QStringLiteral("image/png")},
                                                   {QStringLiteral("width"), width},
                                                   {QStringLiteral("height"), height}}}};
}

QJsonObject error(const QString& message) {
    return {{QStringLiteral("status"), QStringLiteral("error")}, {QStringLiteral("error_message"), message}};
}

const QJsonObject emptyForm = form({}, 0, 0);
const QJsonObject notShared = error(QStringLiteral("Le document n'est plus dans un dossier partagé."));
const QString photo = QStringLiteral("/d/photo.jpg");

} // namespace

TEST_F(ThumbnailHandlerTest, thePictureArrivesInBase64WithItsSizeInPixels) {
    world.share(QStringLiteral("/d"));
    world.thumbnailer->add(photo, 4000, 3000);
    EXPECT_EQ(askShared(photo), form(photo.toUtf8(), 256, 192));
    EXPECT_EQ(world.bookmarks->started, 0); // no access is opened
}

TEST_F(ThumbnailHandlerTest, longBase64HasNoLineBreaks) {
    world.share(QStringLiteral("/d"));
    const QString path = QStringLiteral("/d/") + QString(300, u'x');
    world.thumbnailer->add(path, 10, 10);
    EXPECT_EQ(askShared(path), form(path.toUtf8(), 10, 10));
    const QByteArray sent = *world.backend.updates.back().request.body;
    EXPECT_FALSE(sent.contains("\\n") || sent.contains("\\r") || sent.contains('\n'));
}

TEST_F(ThumbnailHandlerTest, theEdgeIsTakenBetween32And256Points) {
    world.share(QStringLiteral("/d"));
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    EXPECT_EQ(edgeFor({}), 128);
    for (const auto& [asked, taken] : std::vector<std::pair<qint64, int>>{{least, 32},
                                                                          {-1, 32},
                                                                          {0, 32},
                                                                          {16, 32},
                                                                          {31, 32},
                                                                          {32, 32},
                                                                          {33, 33},
                                                                          {128, 128},
                                                                          {254, 254},
                                                                          {255, 255},
                                                                          {256, 256},
                                                                          {257, 256},
                                                                          {300, 256},
                                                                          {most, 256}})
        EXPECT_EQ(edgeFor(asked), taken) << asked;
}

TEST_F(ThumbnailHandlerTest, theScaleIsTheMainScreensOrTwoWithoutOne) {
    world.share(QStringLiteral("/d"));
    askShared(photo, 100);
    world.context.screenScale = 1.0;
    askShared(photo, 100);
    world.context.screenScale = 1.5;
    askShared(photo, 100);
    EXPECT_EQ(world.thumbnailer->asked(),
              (QVector<ThumbnailerFake::Asked>{{photo, 100, 2.0}, {photo, 100, 1.0}, {photo, 100, 1.5}}));
}

TEST_F(ThumbnailHandlerTest, aFileWithoutAPictureIsASuccessWithEmptyData) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(askShared(QStringLiteral("/d/notes.txt")), emptyForm);
    const QByteArray sent = *world.backend.updates.back().request.body;
    EXPECT_TRUE(sent.contains(R"("data_base64":"")")) << sent.toStdString();
    EXPECT_TRUE(sent.contains(R"("status":"done")")) << sent.toStdString();
}

TEST_F(ThumbnailHandlerTest, aPictureWithoutBytesIsTheEmptyForm) {
    world.share(QStringLiteral("/d"));
    cache.put(QStringLiteral("id"), FileURL{QStringLiteral("/d/a")});
    world.thumbnailer->add(QString(), 10, 10); // its bytes are its path
    EXPECT_EQ(ask(QStringLiteral("id")), emptyForm);
}

TEST_F(ThumbnailHandlerTest, aThumbnailerThatBreaksDownIsTheEmptyForm) {
    struct Broken final : Thumbnailer {
        std::optional<Thumbnail> thumbnail(const QString&, int, double, std::stop_token) override {
            throw std::bad_alloc();
        }
    };
    world.share(QStringLiteral("/d"));
    cache.put(photo, FileURL{photo});
    ThumbnailHandler broken{
        {BookmarkPersistence(world.store), world.bookmarks, cache}, std::make_shared<Broken>(), world.context};
    const ThumbnailArgs args{photo, {}};
    await(broken.handleThumbnail({QStringLiteral("t1"), BridgeTaskKind::thumbnail, args}, args, world.api()));
    EXPECT_EQ(world.backend.updates.back().body, emptyForm);
}

TEST_F(ThumbnailHandlerTest, aCancelledTaskEndsTheDrawingAndSendsNothing) {
    world.share(QStringLiteral("/d"));
    cache.put(photo, FileURL{photo});
    world.thumbnailer->endless = photo;
    const ThumbnailArgs args{photo, {}};
    Scope scope;
    Job job = scope.start(
        handler.handleThumbnail({QStringLiteral("t1"), BridgeTaskKind::thumbnail, args}, args, world.api()));
    ASSERT_TRUE(waitUntil([&] { return world.thumbnailer->asked().size() == 1; }));
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return world.thumbnailer->givenUp == 1; }));
    EXPECT_TRUE(world.backend.updates.empty());
}

TEST_F(ThumbnailHandlerTest, anUnknownHandleTellsToSearchAgain) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(ask(QStringLiteral("nobody")),
              error(QStringLiteral("Document introuvable (la session a pu être nettoyée ; relance la recherche).")));
    EXPECT_EQ(world.bookmarks->resolved, 0);
}

TEST_F(ThumbnailHandlerTest, withdrawingTheGrantCutsOffItsHandlesAtOnce) {
    const auto grant = world.share(QStringLiteral("/d"));
    askShared(photo);
    world.grants.remove(grant.id);
    EXPECT_EQ(ask(photo), notShared);
    EXPECT_EQ(world.thumbnailer->asked().size(), 1);
}

TEST_F(ThumbnailHandlerTest, aNeighbourWhosePathBeginsLikeAFoldersCountsAsWithinIt) {
    world.share(QStringLiteral("/a/b"));
    for (const char16_t* path : {u"/a/b", u"/a/b/x.png", u"/a/bc/x.png", u"/a/b.png"})
        EXPECT_EQ(askShared(QStringView(path).toString()), emptyForm) << QStringView(path).toString().toStdString();
    for (const char16_t* path : {u"/a/x.png", u"/a/", u"", u"/A/B/x.png", u"/a//b/x.png"})
        EXPECT_EQ(askShared(QStringView(path).toString()), notShared) << QStringView(path).toString().toStdString();
}

TEST_F(ThumbnailHandlerTest, aPictureThatCannotBeSentIsFollowedByTheEmptyFormOnce) {
    world.share(QStringLiteral("/d"));
    world.thumbnailer->add(photo, 40, 30);
    world.backend.preparedUpdates.emplace_back(HttpResponse{.status = 413, .headers = {}, .body = "too large"});
    EXPECT_EQ(askShared(photo), emptyForm);
    ASSERT_EQ(world.backend.updates.size(), 2U);
    EXPECT_EQ(world.backend.updates.front().body, form(photo.toUtf8(), 40, 30));
    EXPECT_EQ(world.backend.updates.front().path, world.backend.updates.back().path);
}

TEST_F(ThumbnailHandlerTest, anEmptyFormThatCannotBeSentIsFollowedByOneMoreAndThenDropped) {
    world.share(QStringLiteral("/d"));
    for (int i = 0; i < 3; ++i)
        world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    askShared(QStringLiteral("/d/notes.txt"));
    EXPECT_EQ(world.backend.updates.size(), 2U);
    EXPECT_EQ(world.backend.updates.back().body, emptyForm);
}

TEST_F(ThumbnailHandlerTest, aRefusalThatCannotBeSentIsDropped) {
    world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    askShared(photo);
    EXPECT_EQ(world.backend.updates.size(), 1U);
}
